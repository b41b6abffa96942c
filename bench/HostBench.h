// The host with both plug-ins on a modem's port, and a client that notes when what happened.
#pragma once

#include "BenchFolder.h"
#include "HostSession.h"
#include "platform/GlobalFunction.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

typedef std::chrono::steady_clock BenchClock;

inline double MicrosecondsBetween(BenchClock::time_point from, BenchClock::time_point to) {
  return std::chrono::duration<double, std::micro>(to - from).count();
}

/// Threads: the events on the service's threads, the rest on the benchmark's.
class CNotingClient : public ISMSEvent {
public:
  void OnSendReport(const ISMSRecord* pRecord) override {
    Note(pRecord->GetSendResult() == NS_SMS::SUCCESS ? &CNotingClient::m_nReports : &CNotingClient::m_nFailures);
  }
  void OnNewMessage(const ISMSRecord* /*pRecord*/) override { Note(&CNotingClient::m_nMessages); }
  void OnServiceState(int iState) override {
    if (iState == CAN_SEND_SMS) {
      Note(&CNotingClient::m_nCanSend);
    }
  }
  void OnRecordAdded(const ISMSRecord* /*pRecord*/) override { Note(&CNotingClient::m_nSaved); }
  void OnStoreReady(int /*iStorage*/) override { Note(&CNotingClient::m_nStores); }
  void OnRecordChanged(const ISMSRecord* /*pRecord*/, DWORD /*dwCode*/) override {}

  void Forget() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_nReports = m_nMessages = m_nSaved = m_nFailures = 0;
  }
  /// When the count came to be so high.
  BenchClock::time_point Await(int CNotingClient::*count, int wanted) {
    std::unique_lock<std::mutex> guard(m_lock);
    if (!m_changed.wait_for(guard, std::chrono::seconds(60),
                            [&] { return this->*count >= wanted || m_nFailures > 0; }) ||
        m_nFailures > 0) {
      throw std::runtime_error("the service does not get on; see the trace");
    }
    return m_last;
  }

  int m_nReports = 0;
  int m_nMessages = 0;
  int m_nSaved = 0;
  int m_nStores = 0;
  int m_nCanSend = 0;

private:
  void Note(int CNotingClient::*count) {
    const std::lock_guard<std::mutex> guard(m_lock);
    ++(this->*count);
    m_last = BenchClock::now();
    m_changed.notify_all();
  }

  std::mutex m_lock;
  std::condition_variable m_changed;
  int m_nFailures = 0;
  BenchClock::time_point m_last;
};

/// One a process.
class CBenchHost {
public:
  explicit CBenchHost(const std::string& port) {
    CGlobalFunction::OverrideSetting(u"ModemPlugin", u"Device", VELK_wstring(port.begin(), port.end()).c_str());
    std::string error;
    if (!m_session.Start(error)) {
      throw std::runtime_error(error);
    }
    m_session.Service().RegCallBack(&m_client);
    m_client.Await(&CNotingClient::m_nCanSend, 1);
    m_client.Await(&CNotingClient::m_nStores, 3);
  }
  ~CBenchHost() { m_session.Service().DeRegCallBack(&m_client); }
  CBenchHost(const CBenchHost&) = delete;
  CBenchHost& operator=(const CBenchHost&) = delete;

  ISMSService& Service() { return m_session.Service(); }
  CNotingClient& Client() { return m_client; }

private:
  host::CHostSession m_session{host::Modem::kConfigured, false};
  CNotingClient m_client;
};
