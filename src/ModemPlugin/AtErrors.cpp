#include "AtErrors.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace modem {

namespace {

struct Cause {
  unsigned int code;
  const char* text;
};

const Cause kCmsCauses[] = {
    // 3GPP TS 24.011, table E-2
    {1, "unassigned number"},
    {8, "operator determined barring"},
    {10, "call barred"},
    {21, "short message transfer rejected"},
    {22, "memory capacity exceeded"},
    {27, "destination out of service"},
    {28, "unidentified subscriber"},
    {29, "facility rejected"},
    {30, "unknown subscriber"},
    {38, "network out of order"},
    {41, "temporary failure"},
    {42, "congestion"},
    {47, "resources unavailable"},
    {50, "requested facility not subscribed"},
    {69, "requested facility not implemented"},
    {81, "invalid short message transfer reference value"},
    {95, "semantically incorrect message"},
    {96, "invalid mandatory information"},
    {97, "message type non-existent or not implemented"},
    {98, "message not compatible with short message protocol state"},
    {99, "information element non-existent or not implemented"},
    {111, "protocol error"},
    {127, "interworking"},
    // 3GPP TS 23.040, 9.2.3.22
    {128, "telematic interworking not supported"},
    {129, "short message type 0 not supported"},
    {130, "cannot replace short message"},
    {143, "unspecified TP-PID error"},
    {144, "data coding scheme not supported"},
    {145, "message class not supported"},
    {159, "unspecified TP-DCS error"},
    {160, "command cannot be actioned"},
    {161, "command unsupported"},
    {175, "unspecified TP-Command error"},
    {176, "TPDU not supported"},
    {192, "service centre busy"},
    {193, "no service centre subscription"},
    {194, "service centre system failure"},
    {195, "invalid short message entity address"},
    {196, "destination short message entity barred"},
    {197, "duplicate short message rejected"},
    {198, "TP-VPF not supported"},
    {199, "TP-VP not supported"},
    {208, "SIM SMS storage full"},
    {209, "no SMS storage capability in SIM"},
    {210, "error in mobile station"},
    {211, "memory capacity exceeded"},
    {212, "SIM application toolkit busy"},
    {213, "SIM data download error"},
    {255, "unspecified error cause"},
    // 3GPP TS 27.005, 3.2.5
    {300, "ME failure"},
    {301, "SMS service of ME reserved"},
    {302, "operation not allowed"},
    {303, "operation not supported"},
    {304, "invalid PDU mode parameter"},
    {305, "invalid text mode parameter"},
    {310, "SIM not inserted"},
    {311, "SIM PIN required"},
    {312, "PH-SIM PIN required"},
    {313, "SIM failure"},
    {314, "SIM busy"},
    {315, "SIM wrong"},
    {316, "SIM PUK required"},
    {317, "SIM PIN2 required"},
    {318, "SIM PUK2 required"},
    {320, "memory failure"},
    {321, "invalid memory index"},
    {322, "memory full"},
    {330, "SMSC address unknown"},
    {331, "no network service"},
    {332, "network timeout"},
    {340, "no +CNMA acknowledgement expected"},
    {500, "unknown error"}};

const Cause kCmeCauses[] = {{0, "phone failure"},
                            {1, "no connection to phone"},
                            {2, "phone-adaptor link reserved"},
                            {3, "operation not allowed"},
                            {4, "operation not supported"},
                            {5, "PH-SIM PIN required"},
                            {10, "SIM not inserted"},
                            {11, "SIM PIN required"},
                            {12, "SIM PUK required"},
                            {13, "SIM failure"},
                            {14, "SIM busy"},
                            {15, "SIM wrong"},
                            {16, "incorrect password"},
                            {17, "SIM PIN2 required"},
                            {18, "SIM PUK2 required"},
                            {20, "memory full"},
                            {21, "invalid index"},
                            {22, "not found"},
                            {23, "memory failure"},
                            {24, "text string too long"},
                            {25, "invalid characters in text string"},
                            {26, "dial string too long"},
                            {27, "invalid characters in dial string"},
                            {30, "no network service"},
                            {31, "network timeout"},
                            {32, "network not allowed - emergency calls only"},
                            {40, "network personalization PIN required"},
                            {41, "network personalization PUK required"},
                            {50, "incorrect parameters"},
                            {100, "unknown"}};

const int kHighest = 0xFFFF;

std::string Plain(const std::string& text) {
  std::string plain;
  for (const char character : text) {
    if (character != ' ' && character != '.') {
      plain += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
  }
  for (std::size_t at = plain.find("(u)"); at != std::string::npos; at = plain.find("(u)")) {
    plain.erase(at, 3);
  }
  return plain;
}

template <std::size_t Count>
int CodeOf(const Cause (&causes)[Count], const std::string& text) {
  const std::string plain = Plain(text);
  if (!plain.empty() && std::isdigit(static_cast<unsigned char>(plain[0])) != 0) {
    int code = 0;
    const auto [stop, error] = std::from_chars(plain.data(), plain.data() + plain.size(), code);
    return error == std::errc() && code <= kHighest ? code : kHighest;
  }
  const Cause* const cause =
      std::find_if(causes, causes + Count, [&](const Cause& candidate) { return Plain(candidate.text) == plain; });
  return cause == causes + Count ? 0 : static_cast<int>(cause->code);
}

template <std::size_t Count>
const char* TextOf(const Cause (&causes)[Count], unsigned int code) {
  const Cause* const cause =
      std::find_if(causes, causes + Count, [=](const Cause& candidate) { return candidate.code == code; });
  return cause == causes + Count ? "unknown cause" : cause->text;
}

}  // namespace

int CmsErrorCode(const std::string& text) { return CodeOf(kCmsCauses, text); }
int CmeErrorCode(const std::string& text) { return CodeOf(kCmeCauses, text); }
const char* CmsErrorText(unsigned int code) { return TextOf(kCmsCauses, code); }
const char* CmeErrorText(unsigned int code) { return TextOf(kCmeCauses, code); }

}  // namespace modem
