#include "Boxes.h"

#include "Text.h"

#include <algorithm>
#include <cstdio>

namespace smsctl {

namespace {

const std::size_t kTextWidth = 48;

struct Box {
  const char* pszName;
  const char* pszShort;  // null: not of the local store
};

// by NS_SMS::MSG_POSITION
const Box kBoxes[NS_SMS::MSG_POSITION_NUM] = {{"send box", "send"},
                                              {"receive box", "receive"},
                                              {"draft box", "draft"},
                                              {"favourite box", "favourite"},
                                              {"recycle box", "recycle"},
                                              {"receipt box", "receipt"},
                                              {"send box (SIM)", nullptr},
                                              {"receive box (SIM)", nullptr},
                                              {"send box (modem)", nullptr},
                                              {"receive box (modem)", nullptr},
                                              {"cell broadcast box", "broadcast"},
                                              {"timing box", "timing"}};

bool IsKnown(int iPosition) { return iPosition >= 0 && iPosition < NS_SMS::MSG_POSITION_NUM; }

}  // namespace

int StorageOf(const std::string& name) {
  return name == "sim" ? NS_SMS::SMS_SIM : name == "modem" ? NS_SMS::SMS_NV : NS_SMS::SMS_LOCAL;
}

const char* BoxName(int iPosition) { return IsKnown(iPosition) ? kBoxes[iPosition].pszName : "unknown box"; }

std::vector<std::string> LocalBoxNames() {
  std::vector<std::string> names;
  for (const Box& box : kBoxes) {
    if (box.pszShort != nullptr) {
      names.push_back(box.pszShort);
    }
  }
  return names;
}

int PositionOf(const std::string& name) {
  const auto it = std::find_if(std::begin(kBoxes), std::end(kBoxes),
                               [&](const Box& box) { return box.pszShort != nullptr && name == box.pszShort; });
  return it == std::end(kBoxes) ? -1 : static_cast<int>(it - std::begin(kBoxes));
}

std::string ReadableTime(const std::string& time) {
  if (time.size() != 14) {
    return time;
  }
  return time.substr(0, 4) + "-" + time.substr(4, 2) + "-" + time.substr(6, 2) + " " + time.substr(8, 2) + ":" +
         time.substr(10, 2) + ":" + time.substr(12, 2);
}

const char* MarkOf(int iPosition, int iSendResult, int iIsRead) {
  const bool outgoing =
      iPosition == NS_SMS::SEND_BOX || iPosition == NS_SMS::SEND_BOX_SIM || iPosition == NS_SMS::SEND_BOX_NV;
  if (outgoing || iPosition == NS_SMS::RECEIPT_BOX) {
    const char* const success = outgoing ? "sent" : "delivered";
    return iSendResult == NS_SMS::SUCCESS ? success : "FAILED";
  }
  return iIsRead == NS_SMS::IS_NOT_READ ? "new" : "read";
}

long PrintBox(ISMSService& service, int iStorage, int iPosition) {
  ISMSRecordSet* const set = service.GetSMSRecordSet(iStorage);
  long count = 0;
  for (long state = set == nullptr ? NS_SMS::RECORD_EOF : set->MoveFirst(); state == 0; state = set->MoveNext()) {
    if (set->GetPosition() != iPosition) {
      continue;
    }
    ++count;
    std::printf("  %4ld  %-19s  %-9s  %s: \"%s\"\n", set->GetMSGID(), ReadableTime(ToUtf8(set->GetTime())).c_str(),
                MarkOf(iPosition, set->GetSendResult(), set->GetIsRead()), ToUtf8(set->GetNumber()).c_str(),
                OneLine(ToUtf8(set->GetContent()), kTextWidth).c_str());
  }
  return count;
}

}  // namespace smsctl
