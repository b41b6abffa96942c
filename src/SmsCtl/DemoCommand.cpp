// The demo: its surroundings, its order, and its last look at the disk.
#include "Boxes.h"
#include "Commands.h"
#include "Demo.h"
#include "Simulator.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace smsctl {

const char kOwnNumber[] = "+491700000001";
const char kRefusedNumber[] = "+491700000009";

namespace {

const char kVerdictLatency[] = "60";  // milliseconds; a real network takes seconds
const std::chrono::seconds kStartLimit(60);
const char kSettings[] = "[CBS]\nenable=true\n";  // broadcasts are shown

/// A folder for the demo's own settings, database and trace.
class CTemporaryFolder {
public:
  CTemporaryFolder() : m_path((std::filesystem::temp_directory_path() / "smsctl-demo-XXXXXX").string()) {
    m_made = mkdtemp(m_path.data()) != nullptr;
  }
  ~CTemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  bool IsMade() const { return m_made; }
  const std::string& Path() const { return m_path; }

private:
  std::string m_path;
  bool m_made = false;
};

struct BoxOfTheDemo {
  int position;
  long messages;
};

// Sent: one each, two for the cancelled send (one number begun, one not), two around the loss of the modem.
const BoxOfTheDemo kBoxes[] = {
    {NS_SMS::SEND_BOX, 8}, {NS_SMS::RECEIVE_BOX, 4}, {NS_SMS::RECEIPT_BOX, 2}, {NS_SMS::CBS_BOX, 1}};

}  // namespace

bool CDemo::FailStep(const std::string& text) {
  Fail("demo: " + text);
  return false;
}

void CDemo::BeginStep(const std::string& title) {
  std::printf("\n%d. %s\n", ++m_step, title.c_str());
  std::fflush(stdout);
}

bool CDemo::StartHost() {
  std::string error;
  if (!m_session.Start(error)) {
    return FailStep(error);
  }
  m_pClient = std::make_unique<CDemoClient>();
  m_session.Service().RegCallBack(m_pClient.get());
  return m_pClient->AwaitCanSend(kStartLimit) || FailStep("the simulated modem has no network");
}

void CDemo::StopHost() {
  if (m_pClient) {
    m_session.Service().DeRegCallBack(m_pClient.get());
  }
  m_session.Stop();
  m_pClient.reset();
}

bool CDemo::ListBoxesFromDisk() {
  StopHost();
  if (!StartHost()) {
    return false;
  }
  BeginStep("The boxes, read from the database on disk after the host was started again");
  bool complete = true;
  for (const BoxOfTheDemo& box : kBoxes) {
    std::printf("   %s\n", BoxName(box.position));
    complete = PrintBox(m_session.Service(), NS_SMS::SMS_LOCAL, box.position) == box.messages && complete;
  }
  return complete || FailStep("the boxes do not hold what was sent and received");
}

bool CDemo::Run() {
  return StartHost() && SendOnePart() && SendThreePartsToTwo() && SendToRefusedNumber() && SendAndCancel() &&
         SendToOwnNumber() && ReceivePartsOutOfOrder() && ReceiveFlash() && ReceiveBroadcast() &&
         MoveMessagesOfTheSim() && LoseModemWhileSending() && ListBoxesFromDisk();
}

int Demo(const host::HostOptions& given) {
  const CTemporaryFolder folder;
  if (!folder.IsMade()) {
    return Fail("demo: cannot make a folder for temporary files in " + std::filesystem::temp_directory_path().string());
  }
  const std::string port = folder.Path() + "/modem";
  const std::string control = folder.Path() + "/control";
  CSimulator simulator;
  std::string error;
  if (!simulator.Start({"--link", port, "--control", control, "--number", kOwnNumber, "--latency", kVerdictLatency,
                        "--refuse", std::string(kRefusedNumber) + "=38"},
                       error)) {
    return Fail("demo: " + error);
  }
  host::HostOptions options = given;
  options.device = port;  // unlike the device behind it, the link survives unplugging
  options.settingsFile = folder.Path() + "/settings.ini";
  options.dataDir = folder.Path();
  options.logFile = folder.Path() + "/sms.log";
  std::ofstream(options.settingsFile) << kSettings;
  host::ApplyHostOptions(options, "smsctl");
  std::printf("A simulated modem answers AT commands on %s; its number is %s.\n", simulator.Port().c_str(), kOwnNumber);
  host::CHostSession session(host::Modem::kConfigured, false);
  if (!CDemo(session, CSimulatorControl(control)).Run()) {
    return kNotDone;
  }
  std::puts(
      "\nDone. With a real modem, for example:\n"
      "  ./run.sh status --device /dev/ttyUSB2\n"
      "  ./run.sh send --device /dev/ttyUSB2 --to +491701234567 \"Hello\"");
  return kDone;
}

}  // namespace smsctl
