// The demo: a conversation with the simulated modem, step by step.
#pragma once

#include "DemoClient.h"
#include "HostSession.h"
#include "SimulatorControl.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace smsctl {

// numbers of the demo's people
extern const char kOwnNumber[];
extern const char kRefusedNumber[];

/// The steps, each true when it showed what it is meant to show; what went wrong is told on standard error.
class CDemo {
public:
  CDemo(host::CHostSession& session, const CSimulatorControl& simulator) : m_session(session), m_simulator(simulator) {}
  ~CDemo() { StopHost(); }
  CDemo(const CDemo&) = delete;
  CDemo& operator=(const CDemo&) = delete;

  bool Run();

private:
  // DemoCommand.cpp
  bool StartHost();
  void StopHost();
  bool ListBoxesFromDisk();
  void BeginStep(const std::string& title);
  static bool FailStep(const std::string& text);

  // DemoSending.cpp
  bool SendOnePart();
  bool SendThreePartsToTwo();
  bool SendToRefusedNumber();
  bool SendAndCancel();
  bool SendToOwnNumber();
  bool LoseModemWhileSending();
  bool BeginSend(const std::string& title, const std::string& recipients, const char* text);
  /// Waits for the end and prints what became of each recipient.
  bool EndSend();
  /// @param expected  what shall have become of each recipient, in order.
  bool EndSend(const std::vector<std::string>& expected);

  // DemoReceiving.cpp
  bool ReceivePartsOutOfOrder();
  bool ReceiveFlash();
  bool ReceiveBroadcast();
  bool MoveMessagesOfTheSim();
  /// Has the network do something, and waits for the text that it leads to.
  bool Receive(const std::string& request, const char* text, Received& message);
  bool Simulate(const std::string& request);

  host::CHostSession& m_session;
  const CSimulatorControl& m_simulator;
  std::unique_ptr<CDemoClient> m_pClient;
  int m_step = 0;
  long m_parts = 0;  // of the text being sent
};

}  // namespace smsctl
