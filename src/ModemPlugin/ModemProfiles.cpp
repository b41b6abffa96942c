#include "ModemProfiles.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace modem {

namespace {

bool BeginsWith(const std::string& text, const char* beginning) {
  const std::size_t length = std::strlen(beginning);
  return text.size() >= length && std::equal(beginning, beginning + length, text.begin(), [](char left, char right) {
           return std::tolower(static_cast<unsigned char>(left)) == std::tolower(static_cast<unsigned char>(right));
         });
}

}  // namespace

// After the makers' public AT command manuals. Notices are asked for only where the modem keeps silent about the card
// without; what it says unasked is told apart from replies anyway. A special row stands before its family's.
const std::vector<ModemProfile>& ModemProfiles() {
  // clang-format off
  static const std::vector<ModemProfile> profiles = {
      {"huawei", "", "^ICCID?", {"^CPIN?", 3}, nullptr, {"^CURC=1"}, {},
       "data cards tell the card's state (^SIMST) unless another program has switched all notices off"},
      {"ZTE", "", "+ZGETICCID", {}, nullptr, {"+ZOPRT=5"}, {},
       "data cards wake up offline and register only when they are told to go online"},
      {"Sierra Wireless", "", "!ICCID?", {"+CPINC?", 0}, nullptr, {}, {},
       "some firmware keeps AT+CRSM to itself"},
      {"Quectel", "", "+QCCID", {"+QPINC=\"SC\"", 1}, "+QINDCFG=\"smsfull\",1", {"+QSIMSTAT=1"}, {},
       "tells that a card was put in or taken out, and that a memory is full, only when asked to"},
      {"SIMCOM", "", "+CCID", {"+SPIC", 0}, nullptr, {"+CSMINS=1"}, {},
       "tells that a card was put in or taken out only when asked to; some read without marking read by a mode",
       QuietReading::kMode},
      {"u-blox", "", "+CCID", {"+UPINCNT", 0}, nullptr, {"+USIMSTAT=1"}, {},
       "tells the card's state (+UUSIMSTAT) only when asked to"},
      {"Telit", "", "#CCID", {"#PCT", 0}, "#SMOV=1", {"#QSS=2"}, {},
       "tells the card's state (#QSS) and a full memory (#SMOV) only when asked to"},
      {"Cinterion", "", "^SCID", {"^SPIC", 0}, "^SMGO=1", {"^SCKS=1"},
       {{{2, 1, 2, 1, 1}}, {{2, 1, 0, 1, 1}}, {{2, 1, 0, 0, 1}}},
       "knows the buffer 1 of AT+CNMI only; tells that a card was put in or taken out, and that a memory is full "
       "(^SMGO), only when asked to; reads without marking read by commands of its own", QuietReading::kOwnCommands},
      {"SIEMENS", "", "^SCID", {"^SPIC", 0}, "^SMGO=1", {"^SCKS=1"},
       {{{2, 1, 2, 1, 1}}, {{2, 1, 0, 1, 1}}, {{2, 1, 0, 0, 1}}},
       "the same modules under their older name", QuietReading::kOwnCommands},
      {"WAVECOM", "", "+CCID", {"+CPINC", 0}, nullptr, {"+WIND=5"}, {},
       "tells of the card and of a restart (+WIND) only when asked to"},
      {"Ericsson", "", nullptr, {"*EPIN?", 0}, nullptr, {"*EPEE=1"}, {},
       "tells that the card's PIN was entered (*EPEV) only when asked to"},
      {"Option", "", nullptr, {"_OERCN?", 0}, nullptr, {"_OSSYS=0", "_OSQI=0"}, {},
       "connection programs leave notices of system and signal on, several a second on a slow port"},
      {"Novatel", "", nullptr, {}, nullptr, {"$NWDMAT=1"}, {},
       "a second port speaks AT only after this, else diagnostics"},
      {"SmsApp", "Simulated", nullptr, {}, "^CURC=1", {}, {},
       "the simulated modem tells of a full memory (^SMMEMFULL) only when asked to"}};
  // clang-format on
  return profiles;
}

const ModemProfile* ProfileOf(const std::string& maker, const std::string& model) {
  for (const ModemProfile& profile : ModemProfiles()) {
    if (BeginsWith(maker, profile.maker) && BeginsWith(model, profile.model)) {
      return &profile;
    }
  }
  return nullptr;
}

}  // namespace modem
