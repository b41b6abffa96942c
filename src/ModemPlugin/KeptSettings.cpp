#include "KeptSettings.h"

#include "platform/GlobalFunction.h"
#include "platform/VelkString.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <vector>

namespace modem {

namespace {

const VELK_wchar_t kSection[] = u"ModemPlugin";
const VELK_wchar_t kValidity[] = u"Validity";
const VELK_wchar_t kStatusReport[] = u"StatusReport";
const VELK_wchar_t kReplyPath[] = u"ReplyPath";
const VELK_wchar_t kPriority[] = u"Priority";
const VELK_wchar_t kReceiveMode[] = u"ReceiveMode";
const VELK_wchar_t kNetworkTime[] = u"NetworkTime";
const VELK_wchar_t kPin[] = u"Pin";
const VELK_wchar_t kPinTried[] = u"PinTried";  // the PIN, then the cards
const char kAnyCard[] = "any";
const char kVerdictLost[] = "?";  // behind a card

/// @return the number, or -1 when there is none from 0 to `highest`.
int ReadNumber(const VELK_wchar_t* pszItem, int highest) {
  VELK_wchar_t text[16] = {};
  const int length = CGlobalFunction::GetSetting(kSection, pszItem, text, 15);
  const int value = VELK_wtoi(text);
  return length > 0 && length < 15 && value >= 0 && value <= highest ? value : -1;
}

bool WriteNumber(const VELK_wchar_t* pszItem, long before, long now) {
  VELK_wchar_t text[16] = {};
  return before == now ||
         CGlobalFunction::SetSetting(kSection, pszItem, VELK_itow(static_cast<int>(now), text, 10)) == 0;
}

std::string ReadText(const VELK_wchar_t* pszItem) {
  const int length = std::max(CGlobalFunction::GetSetting(kSection, pszItem, nullptr, 0), 0);
  VELK_wstring wide(static_cast<std::size_t>(length) + 1, 0);
  CGlobalFunction::GetSetting(kSection, pszItem, &wide[0], length);
  std::string text;
  std::transform(wide.begin(), wide.end() - 1, std::back_inserter(text),
                 [](VELK_wchar_t unit) { return unit < 0x80 ? static_cast<char>(unit) : '?'; });
  return text;
}

std::vector<std::string> ReadPinTried() {
  std::istringstream words(ReadText(kPinTried));
  return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}

}  // namespace

void LoadKeptSettings(WMSConfigurationType& config) {
  const int validity = ReadNumber(kValidity, 255);
  const int priority = ReadNumber(kPriority, SM_PRIORITY_EMERGENCY);
  config.dwValidity = validity >= 0 ? static_cast<DWORD>(validity) : config.dwValidity;
  config.enPri = priority >= 0 ? static_cast<SM_PRIORITY>(priority) : config.enPri;
  const int receiveMode = ReadNumber(kReceiveMode, RECEIVE_NEWSMS_AFTER_STORED);
  config.enRevMode = receiveMode > 0 ? static_cast<RECEIVE_NEWSMS_MODE>(receiveMode) : config.enRevMode;
  config.bEnableStatusReport = ReadNumber(kStatusReport, 1) == 1;
  config.bEnableReplyPath = ReadNumber(kReplyPath, 1) == 1;
}

bool StoreKeptSettings(const WMSConfigurationType& before, const WMSConfigurationType& now) {
  const bool validity = WriteNumber(kValidity, before.dwValidity, now.dwValidity);
  const bool priority = WriteNumber(kPriority, before.enPri, now.enPri);
  const bool report = WriteNumber(kStatusReport, before.bEnableStatusReport, now.bEnableStatusReport);
  const bool replyPath = WriteNumber(kReplyPath, before.bEnableReplyPath, now.bEnableReplyPath);
  const bool receiveMode = WriteNumber(kReceiveMode, before.enRevMode, now.enRevMode);
  return validity && priority && report && replyPath && receiveMode;
}

bool WantsNetworkTime() { return ReadNumber(kNetworkTime, 1) == 1; }

std::string ConfiguredPin() { return ReadText(kPin); }

PinTried PinTriedBefore(const std::string& pin, const std::string& iccid) {
  const std::vector<std::string> tried = ReadPinTried();
  if (tried.empty() || tried[0] != pin) {
    return PinTried::kNever;
  }
  const auto has = [&](const std::string& card) { return std::count(tried.begin() + 1, tried.end(), card) != 0; };
  if (iccid.empty() || has(iccid) || has(kAnyCard)) {
    return PinTried::kDone;
  }
  return has(iccid + kVerdictLost) ? PinTried::kVerdictLost : PinTried::kNever;
}

bool NotePinTried(const std::string& pin, const std::string& iccid, PinTried how) {
  const std::vector<std::string> tried = ReadPinTried();
  const std::string lost = iccid.empty() ? std::string() : iccid + kVerdictLost;
  const std::string done = iccid.empty() ? kAnyCard : iccid;
  std::string text = pin + ' ' + (how == PinTried::kVerdictLost && !iccid.empty() ? lost : done);
  for (std::size_t card = 1; card < tried.size() && tried[0] == pin; ++card) {
    text += tried[card] == lost || tried[card] == done ? std::string() : ' ' + tried[card];
  }
  return CGlobalFunction::SetSetting(kSection, kPinTried, VELK_wstring(text.begin(), text.end()).c_str()) == 0;
}

void ForgetPinTried() { CGlobalFunction::SetSetting(kSection, kPinTried, u""); }

}  // namespace modem
