#include "SendWatcher.h"

#include "Text.h"

namespace smsctl {

bool IsWhole(const Recipient& recipient, long parts) { return recipient.sent && recipient.partsSent >= parts; }

std::string Outcome(const Recipient& recipient, long parts) {
  if (IsWhole(recipient, parts)) {
    return "sent";
  }
  if (recipient.partsSent > 0) {
    return "stopped after " + std::to_string(recipient.partsSent) + " of " + Counted(parts, "part");
  }
  return "not sent";
}

void CSendWatcher::Begin(const std::vector<std::string>& numbers,
                         const std::function<void(const PartReport&)>& onReport) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_recipients.clear();
  for (const std::string& number : numbers) {
    m_recipients.push_back(Recipient{number});
  }
  m_settled = 0;
  m_reports = 0;
  m_reportsOfNumber.clear();
  m_onReport = onReport;
}

bool CSendWatcher::AwaitEnd(std::chrono::seconds limit) {
  std::unique_lock<std::mutex> guard(m_lock);
  return m_changed.wait_for(guard, limit, [this] { return m_settled >= m_recipients.size(); });
}

bool CSendWatcher::AwaitReports(int count, std::chrono::seconds limit) {
  std::unique_lock<std::mutex> guard(m_lock);
  return m_changed.wait_for(guard, limit, [&] { return m_reports >= count; });
}

bool CSendWatcher::AwaitCanSend(std::chrono::seconds limit) {
  std::unique_lock<std::mutex> guard(m_lock);
  return m_changed.wait_for(guard, limit, [this] { return m_canSend; });
}

std::vector<Recipient> CSendWatcher::Recipients() const {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_recipients;
}

void CSendWatcher::OnSendReport(const ISMSRecord* pRecord) {
  const std::lock_guard<std::mutex> guard(m_lock);
  const std::string number = ToUtf8(pRecord->GetNumber());
  const bool sent = pRecord->GetSendResult() == NS_SMS::SUCCESS;
  const PartReport report{number, ++m_reportsOfNumber[number], sent};
  for (Recipient& recipient : m_recipients) {
    if (recipient.number == number && sent) {
      ++recipient.partsSent;
    }
  }
  ++m_reports;
  if (m_onReport) {
    m_onReport(report);
  }
  m_changed.notify_all();
}

void CSendWatcher::OnServiceState(int iState) {
  const std::lock_guard<std::mutex> guard(m_lock);
  if (iState == CAN_SEND_SMS || iState == CANNOT_SEND_SMS) {
    m_canSend = iState == CAN_SEND_SMS;
    m_changed.notify_all();
  }
}

void CSendWatcher::OnRecordAdded(const ISMSRecord* pRecord) {
  const std::lock_guard<std::mutex> guard(m_lock);
  for (const std::string& number : SplitNumbers(ToUtf8(pRecord->GetNumber()))) {
    ++m_settled;
    for (Recipient& recipient : m_recipients) {
      if (recipient.number == number) {
        recipient.sent = pRecord->GetSendResult() == NS_SMS::SUCCESS;
        recipient.stored = pRecord->GetMSGID() > 0;
      }
    }
  }
  m_changed.notify_all();
}

}  // namespace smsctl
