#include "DemoClient.h"

#include "Text.h"

#include <algorithm>
#include <cstdio>

namespace smsctl {

namespace {

std::string PlaceOf(const ISMSRecord& record) {
  int reference = 0;
  int total = 0;
  int part = 0;
  record.GetMSGInfo(reference, total, part);
  return total > 1 ? "part " + std::to_string(part) + " of " + std::to_string(total) : "the whole text";
}

std::string Describe(const ISMSRecord& record, const std::string& text) {
  if (record.GetMSGType() == NS_SMS::MSG_REPORT) {
    return std::string("report: ") + (record.GetSendResult() == NS_SMS::SUCCESS ? "delivered" : "not delivered") +
           " to " + ToUtf8(record.GetNumber());
  }
  const std::string characters = Counted(static_cast<long>(text.size()), "character");
  if (record.GetMSGID() == -1) {
    return "flash message, shown and not stored: " + characters;
  }
  const std::string what = record.GetMSGType() == NS_SMS::MSG_CELL_BROADCAST ? "broadcast page" : PlaceOf(record);
  return "received " + what + ": message " + std::to_string(record.GetMSGID()) + ", " + characters;
}

void Print(const std::string& line) {
  std::printf("   %s\n", line.c_str());
  std::fflush(stdout);
}

}  // namespace

bool CDemoClient::AwaitMessage(const std::string& text, std::chrono::seconds limit, Received& message) {
  std::unique_lock<std::mutex> guard(m_newLock);
  auto found = m_messages.end();
  const auto arrived = [&] {
    found = std::find_if(m_messages.begin(), m_messages.end(), [&](const Received& each) { return each.text == text; });
    return found != m_messages.end();
  };
  if (!m_newChanged.wait_for(guard, limit, arrived)) {
    return false;
  }
  message = *found;
  return true;
}

bool CDemoClient::AwaitDeliveryReports(int count, std::chrono::seconds limit) {
  std::unique_lock<std::mutex> guard(m_newLock);
  return m_newChanged.wait_for(guard, limit, [&] { return m_deliveryReports >= count; });
}

bool CDemoClient::AwaitModem(bool bThere, std::chrono::seconds limit) {
  std::unique_lock<std::mutex> guard(m_newLock);
  return m_newChanged.wait_for(guard, limit, [&] { return m_bModemThere == bThere; });
}

bool CDemoClient::AwaitMoved(int count, std::chrono::seconds limit) {
  std::unique_lock<std::mutex> guard(m_newLock);
  return m_newChanged.wait_for(guard, limit, [&] { return m_bAllMoved; }) && m_moved == count;
}

void CDemoClient::OnNewMessage(const ISMSRecord* pRecord) {
  const std::lock_guard<std::mutex> guard(m_newLock);
  const Received message{ToUtf8(pRecord->GetContent()), pRecord->GetMSGType(), pRecord->GetMSGID()};
  Print(Describe(*pRecord, message.text));
  m_deliveryReports += message.type == NS_SMS::MSG_REPORT ? 1 : 0;
  m_messages.push_back(message);
  m_newChanged.notify_all();
}

void CDemoClient::OnServiceState(int iState) {
  CSendWatcher::OnServiceState(iState);
  const std::lock_guard<std::mutex> guard(m_newLock);
  if (iState == DEVICE_AVAILABLE || iState == DEVICE_UNAVAILABLE) {
    m_bModemThere = iState == DEVICE_AVAILABLE;
  }
  m_moved += iState == CUT_TO_LOCAL_MOVED ? 1 : 0;
  m_bAllMoved = m_bAllMoved || iState == CUT_TO_LOCAL_DONE;
  m_newChanged.notify_all();
}

void CDemoClient::OnRecordChanged(const ISMSRecord* pRecord, DWORD dwCode) {
  if (dwCode == RECORD_MERGED_INTO_LONG_SMS) {
    Print("message " + std::to_string(pRecord->GetMSGID()) + " is now inside a whole one");
  }
}

}  // namespace smsctl
