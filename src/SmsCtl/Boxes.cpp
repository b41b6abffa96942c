#include "Boxes.h"

#include "Text.h"

#include <cstdio>

namespace smsctl {

namespace {

const std::size_t kTextWidth = 48;

/// "2026-11-20 12:34:56" of fourteen digits; other times as they are.
std::string ReadableTime(const std::string& time) {
  if (time.size() != 14) {
    return time;
  }
  return time.substr(0, 4) + "-" + time.substr(4, 2) + "-" + time.substr(6, 2) + " " + time.substr(8, 2) + ":" +
         time.substr(10, 2) + ":" + time.substr(12, 2);
}

const char* MarkOf(ISMSRecordSet& set) {
  const int position = set.GetPosition();
  const bool outgoing = position == NS_SMS::SEND_BOX || position == NS_SMS::SEND_BOX_SIM ||
                        position == NS_SMS::SEND_BOX_NV || position == NS_SMS::RECEIPT_BOX;
  if (outgoing) {
    return set.GetSendResult() == NS_SMS::SUCCESS ? "sent" : "FAILED";
  }
  return set.GetIsRead() == NS_SMS::IS_NOT_READ ? "new" : "read";
}

}  // namespace

const char* BoxName(int iPosition) {
  static const char* const kNames[NS_SMS::MSG_POSITION_NUM] = {
      "send box",         "receive box",         "draft box",          "favourite box",
      "recycle box",      "receipt box",         "send box (SIM)",     "receive box (SIM)",
      "send box (modem)", "receive box (modem)", "cell broadcast box", "timing box"};
  return iPosition >= 0 && iPosition < NS_SMS::MSG_POSITION_NUM ? kNames[iPosition] : "unknown box";
}

long PrintBox(ISMSService& service, int iStorage, int iPosition) {
  ISMSRecordSet* const set = service.GetSMSRecordSet(iStorage);
  long count = 0;
  for (long state = set == nullptr ? NS_SMS::RECORD_EOF : set->MoveFirst(); state == 0; state = set->MoveNext()) {
    if (set->GetPosition() != iPosition) {
      continue;
    }
    ++count;
    std::printf("  %4ld  %-19s  %-6s  %s: \"%s\"\n", set->GetMSGID(), ReadableTime(ToUtf8(set->GetTime())).c_str(),
                MarkOf(*set), ToUtf8(set->GetNumber()).c_str(), OneLine(ToUtf8(set->GetContent()), kTextWidth).c_str());
  }
  return count;
}

}  // namespace smsctl
