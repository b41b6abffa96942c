#include "FakeClient.h"

#include "Text.h"

#include <algorithm>

namespace {

std::string Describe(const ISMSRecord* record) {
  return " number=" + Utf8(record->GetNumber()) + " content=" + Utf8(record->GetContent());
}

}  // namespace

void CFakeClient::OnSendReport(const ISMSRecord* pRecord) {
  Note("OnSendReport" + Describe(pRecord) + " result=" + std::to_string(pRecord->GetSendResult()));
}

void CFakeClient::OnNewMessage(const ISMSRecord* pRecord) {
  Note("OnNewMessage id=" + std::to_string(pRecord->GetMSGID()) + Describe(pRecord));
}

void CFakeClient::OnServiceState(int iState) { Note("OnServiceState " + std::to_string(iState)); }

void CFakeClient::OnRecordAdded(const ISMSRecord* pRecord) {
  Note("OnRecordAdded id=" + std::to_string(pRecord->GetMSGID()) + Describe(pRecord) +
       " result=" + std::to_string(pRecord->GetSendResult()));
}

void CFakeClient::OnStoreReady(int iStorage) { Note("OnStoreReady " + std::to_string(iStorage)); }

void CFakeClient::OnRecordChanged(const ISMSRecord* pRecord, DWORD dwCode) {
  Note("OnRecordChanged id=" + std::to_string(pRecord->GetMSGID()) + " code=" + std::to_string(dwCode));
}

std::vector<std::string> CFakeClient::Lines() const {
  return m_monitor.Peek([this] { return m_lines; });
}

int CFakeClient::CountLocked(const std::string& prefix) const {
  return static_cast<int>(std::count_if(m_lines.begin(), m_lines.end(), [&](const std::string& line) {
    return line.compare(0, prefix.size(), prefix) == 0;
  }));
}

int CFakeClient::Count(const std::string& prefix) const {
  return m_monitor.Peek([&] { return CountLocked(prefix); });
}

bool CFakeClient::Await(const std::string& prefix, int times, int milliseconds) const {
  return m_monitor.Await([&] { return CountLocked(prefix) >= times; }, milliseconds);
}

void CFakeClient::Clear() {
  m_monitor.Locked([this] { m_lines.clear(); });
}

void CFakeClient::SetHook(const std::function<void(const std::string& line)>& hook) {
  m_monitor.Locked([&] { m_hook = hook; });
}

void CFakeClient::Note(const std::string& line) {
  const auto hook = m_monitor.Peek([this] { return m_hook; });
  if (hook) {
    hook(line);
  }
  m_monitor.Locked([&] { m_lines.push_back(line); });
}
