// Lines of octets as a modem gives them, read into the structures of the services: nothing is lost, nothing overruns.
#include "CellBroadcast.h"
#include "MessageConversion.h"
#include "Property.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string>

using namespace fuzz;

namespace {

const std::size_t kContentUnits = 160;

void TryMms(const SMReadRecord& record, std::size_t octets) {
  const MMS_NOTIFY_DATA& mms = record.stMMS_Notify_Data;
  Require(mms.iWSPLen >= 0 && mms.iDATALen >= 0 && mms.iWSPLen <= static_cast<int>(sizeof mms.szWSP) &&
              mms.iDATALen <= static_cast<int>(sizeof mms.szDATA),
          "a push fits into its record");
  Require(record.enType != SMS_IDENTIFYER_MMS_NOTIFY || static_cast<std::size_t>(mms.iWSPLen + mms.iDATALen) == octets,
          "head and data are the whole push");
}

template <std::size_t Room>
bool IsTerminated(const char (&text)[Room]) {
  return std::find(text, text + Room, '\0') != text + Room;
}

void TryMessage(const std::string& line, SMS_STAT state) {
  modem::CWapPushes pushes;
  const SMReadRecord record = modem::ReadPdu(line, state, {true, &pushes});
  Require(record.dwLength <= kContentUnits && record.wszContent[record.dwLength] == 0, "content ends in its record");
  Require(IsTerminated(record.szAddress) && IsTerminated(record.szSCNum), "numbers are terminated");
  Require(record.enSMStat == state || record.enType != SMS_IDENTIFYER_ORDINARILY, "the state is kept");
  TryMms(record, record.dwLength);
  const bool hex = std::all_of(line.begin(), line.end(), [](char c) { return std::isxdigit(static_cast<BYTE>(c)); });
  if (hex && line.size() % 2 == 0) return;
  const std::size_t kept = std::min(line.size(), kContentUnits);
  Require(record.dwLength == kept && record.enType == SMS_IDENTIFYER_ORDINARILY, "what is no line of octets is kept");
  for (std::size_t i = 0; i < kept; ++i) {
    Require((record.wszContent[i] & 0xFF) == static_cast<BYTE>(line[i]), "it is kept as it is");
  }
}

void TryPages(const std::string& line) {
  const std::vector<CBSMessage> pages = modem::ReadPages(line);
  Require(pages.size() <= sms_pdu::kBroadcastPages, "a message has so many pages");
  for (const CBSMessage& page : pages) {
    Require(page.Sequence != 0 && page.Sequence <= page.TotalNumber && page.TotalNumber <= sms_pdu::kBroadcastPages,
            "a page has a place");
  }
}

}  // namespace

/// Input: the state in the memory, whether the rest is a line or its octets, the rest.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CInput input(data, size);
  const SMS_STAT state = static_cast<SMS_STAT>(input.Octet() % 4);
  const bool isLine = input.Octet() & 1;
  std::string line(reinterpret_cast<const char*>(input.Rest()), input.Left());
  if (!isLine) {
    std::string digits(2 * input.Left() + 1, '\0');
    sms_pdu::OctetsToHex(input.Rest(), input.Left(), digits.data());
    digits.pop_back();
    line = digits;
  }
  TryMessage(line, state);
  TryPages(line);
  return 0;
}
