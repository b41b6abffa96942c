#include "Commands.h"

#include "Boxes.h"
#include "HostSession.h"
#include "Measure.h"
#include "SendWatcher.h"
#include "Simulator.h"
#include "Text.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>

namespace smsctl {

namespace {

const char kOwnNumber[] = "+491700000001";
const char kFriend[] = "+491700000002";
const char kBothFriends[] = "+491700000002;+491700000003";
const char kRefusedNumber[] = "+491700000009";
const char kVerdictLatency[] = "60";  // milliseconds; a real network takes seconds
const std::chrono::seconds kStepLimit(60);
const long kSentOfTheDemo = 6;  // one each, and two for the cancelled send: one number begun, one not

const char kShortText[] = "Hello from SmsAppPlugin.";
const char kLongText[] =
    "Three parts: the price is 25 \u20AC and we are glad \U0001F600. A euro sign alone would still fit the 7-bit "
    "alphabet "
    "as two characters, but the emoji needs 16-bit coding, so a part holds 67 units.";
const char kCancelledText[] =
    "A long text that nobody will read to its end, because it is cancelled while its second part is on the way. Five "
    "parts of 153 characters would be needed for all of it, to each of two people, and the service tells how many of "
    "these ten parts did not leave the computer. What has been given to the network cannot be taken back, so the part "
    "in flight still gets its verdict; the others stay here. The whole text is kept in the send box all the same, so "
    "that it can be sent again later. That is the promise of a send box: whatever happens to the modem, to the network "
    "or to the program, the words of a person are still there. This sentence fills the last of the five parts.";

const char kAnsweredText[] =
    "A message to myself. It is longer than one part holds, so it leaves in two parts; the network brings both back, "
    "the "
    "host reads them from the SIM, joins them, keeps one whole message and deletes the copies on the SIM.";

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

/// Hears of what comes in, beside what becomes of a send.
class CDemoClient : public CSendWatcher {
public:
  void OnNewMessage(const ISMSRecord* pRecord) override {
    const std::lock_guard<std::mutex> guard(m_newLock);
    const std::string text = ToUtf8(pRecord->GetContent());
    if (pRecord->GetMSGType() == NS_SMS::MSG_REPORT) {
      ++m_reports;
      std::printf("   report: %s to %s\n", pRecord->GetSendResult() == NS_SMS::SUCCESS ? "delivered" : "not delivered",
                  ToUtf8(pRecord->GetNumber()).c_str());
    } else {
      m_texts.push_back(text);
      std::printf("   received %s: message %ld, %s\n", PlaceOf(*pRecord).c_str(), pRecord->GetMSGID(),
                  Counted(static_cast<long>(text.size()), "character").c_str());
    }
    std::fflush(stdout);
    m_newChanged.notify_all();
  }
  /// Waits until this text has come in whole, and so many reports.
  bool AwaitMessageAndReports(const std::string& text, int reports, std::chrono::seconds limit) {
    std::unique_lock<std::mutex> guard(m_newLock);
    return m_newChanged.wait_for(guard, limit, [&] {
      return m_reports >= reports && std::find(m_texts.begin(), m_texts.end(), text) != m_texts.end();
    });
  }

private:
  static std::string PlaceOf(const ISMSRecord& record) {
    int reference = 0;
    int total = 0;
    int part = 0;
    record.GetMSGInfo(reference, total, part);
    return total > 1 ? "part " + std::to_string(part) + " of " + std::to_string(total) : "the whole text";
  }

  std::mutex m_newLock;
  std::condition_variable m_newChanged;
  // guarded by m_newLock
  std::vector<std::string> m_texts;
  int m_reports = 0;
};

/// The steps, each true when it showed what it is meant to show.
class CDemo {
public:
  explicit CDemo(host::CHostSession& session) : m_session(session) {}

  int Run();

private:
  bool StartHost();
  void StopHost();
  bool SendOnePart();
  bool SendThreePartsToTwo();
  bool SendToRefusedNumber();
  bool SendAndCancel();
  bool SendToOwnNumber();
  bool ListBoxesFromDisk();

  bool BeginSend(const std::string& title, const std::string& recipients, const char* text);
  /// Waits for the end and prints what became of each recipient.
  bool EndSend();
  /// @param expected  what shall have become of each recipient, in order.
  bool EndSend(const std::vector<std::string>& expected);
  bool FailStep(const std::string& text);

  host::CHostSession& m_session;
  std::unique_ptr<CDemoClient> m_pWatcher;
  int m_step = 0;
  long m_parts = 0;  // of the text being sent
};

bool CDemo::FailStep(const std::string& text) {
  Fail("demo: " + text);
  return false;
}

bool CDemo::StartHost() {
  std::string error;
  if (!m_session.Start(error)) {
    return FailStep(error);
  }
  m_pWatcher = std::make_unique<CDemoClient>();
  m_session.Service().RegCallBack(m_pWatcher.get());
  return m_pWatcher->AwaitCanSend(kStepLimit) || FailStep("the simulated modem has no network");
}

void CDemo::StopHost() {
  if (m_pWatcher) {
    m_session.Service().DeRegCallBack(m_pWatcher.get());
  }
  m_session.Stop();
  m_pWatcher.reset();
}

bool CDemo::BeginSend(const std::string& title, const std::string& recipients, const char* text) {
  const Cost cost = Measure(m_session.Service(), ToUtf16(text));
  std::printf("\n%d. %s\n   \"%s\"\n   %s, %s\n", ++m_step, title.c_str(), OneLine(text, 68).c_str(),
              Counted(cost.parts, "part").c_str(), EncodingName(cost));
  m_parts = cost.parts;
  m_pWatcher->Begin(SplitNumbers(recipients), [parts = cost.parts](const PartReport& report) {
    std::printf("   part %d of %ld to %s: %s\n", report.part, parts, report.number.c_str(),
                report.sent ? "sent" : "refused by the network");
    std::fflush(stdout);
  });
  return m_session.Service().SendMsg(ToUtf16(recipients).c_str(), ToUtf16(text).c_str()) == ISMSService::SUCCESS ||
         FailStep("SendMsg failed");
}

bool CDemo::EndSend() {
  if (!m_pWatcher->AwaitEnd(kStepLimit)) {
    return FailStep("no verdict in time");
  }
  bool stored = true;
  for (const Recipient& recipient : m_pWatcher->Recipients()) {
    stored = stored && recipient.stored;
    std::printf("   %s: %s\n", recipient.number.c_str(), Outcome(recipient, m_parts).c_str());
  }
  return stored || FailStep("a message is not in the send box");
}

bool CDemo::EndSend(const std::vector<std::string>& expected) {
  if (!EndSend()) {
    return false;
  }
  std::vector<std::string> outcomes;
  for (const Recipient& recipient : m_pWatcher->Recipients()) {
    outcomes.push_back(Outcome(recipient, m_parts));
  }
  return outcomes == expected || FailStep("what became of the message is not what was expected");
}

bool CDemo::SendOnePart() { return BeginSend("One part", kFriend, kShortText) && EndSend({"sent"}); }

bool CDemo::SendThreePartsToTwo() {
  return BeginSend("Three parts to two numbers", kBothFriends, kLongText) && EndSend({"sent", "sent"});
}

bool CDemo::SendToRefusedNumber() {
  return BeginSend("A number that the network refuses", kRefusedNumber, kShortText) && EndSend({"not sent"});
}

bool CDemo::SendAndCancel() {
  if (!BeginSend("Two numbers, cancelled on the way", kBothFriends, kCancelledText)) {
    return false;
  }
  if (!m_pWatcher->AwaitReports(1, kStepLimit)) {
    return FailStep("no verdict in time");
  }
  long notSent = 0;
  if (m_session.Service().CancelSendMsg(notSent) != ISMSService::SUCCESS || notSent < 1) {
    return FailStep("the send could not be cancelled");
  }
  std::printf("   cancelled: %s not sent\n", Counted(notSent, "part").c_str());
  if (!EndSend()) {
    return false;
  }
  long sent = 0;
  for (const Recipient& recipient : m_pWatcher->Recipients()) {
    sent += recipient.partsSent;
  }
  return sent + notSent == 2 * m_parts || FailStep("the parts sent and those not sent do not add up");
}

bool CDemo::SendToOwnNumber() {
  ISMSSetting* setting = nullptr;
  if (m_session.Service().GetSMSSetting(&setting) != ISMSService::SUCCESS || setting->SetSMSReceiptNotify(1) != 0) {
    return FailStep("delivery reports cannot be asked for");
  }
  if (!BeginSend("To the own number, with delivery reports: two parts come back and are joined", kOwnNumber,
                 kAnsweredText) ||
      !EndSend({"sent"})) {
    return false;
  }
  return m_pWatcher->AwaitMessageAndReports(kAnsweredText, 2, kStepLimit) ||
         FailStep("the message or its reports did not come back");
}

bool CDemo::ListBoxesFromDisk() {
  StopHost();
  if (!StartHost()) {
    return false;
  }
  std::printf("\n%d. The boxes, read from the database on disk after the host was started again\n", ++m_step);
  std::puts("   send box");
  const long sent = PrintBox(m_session.Service(), NS_SMS::SMS_LOCAL, NS_SMS::SEND_BOX);
  std::puts("   receive box");
  const long received = PrintBox(m_session.Service(), NS_SMS::SMS_LOCAL, NS_SMS::RECEIVE_BOX);
  std::puts("   receipt box");
  const long reports = PrintBox(m_session.Service(), NS_SMS::SMS_LOCAL, NS_SMS::RECEIPT_BOX);
  return (sent == kSentOfTheDemo && received == 1 && reports == 2) || FailStep("the boxes do not hold what was sent");
}

int CDemo::Run() {
  const bool done = StartHost() && SendOnePart() && SendThreePartsToTwo() && SendToRefusedNumber() && SendAndCancel() &&
                    SendToOwnNumber() && ListBoxesFromDisk();
  StopHost();
  return done ? kDone : kNotDone;
}

}  // namespace

int Demo(const host::HostOptions& given) {
  const CTemporaryFolder folder;
  if (!folder.IsMade()) {
    return Fail("demo: cannot make a folder for temporary files in " + std::filesystem::temp_directory_path().string());
  }
  CSimulator simulator;
  std::string error;
  if (!simulator.Start(
          {"--number", kOwnNumber, "--latency", kVerdictLatency, "--refuse", std::string(kRefusedNumber) + "=38"},
          error)) {
    return Fail("demo: " + error);
  }
  host::HostOptions options = given;
  options.device = simulator.Port();
  options.settingsFile = folder.Path() + "/settings.ini";
  options.dataDir = folder.Path();
  options.logFile = folder.Path() + "/sms.log";
  host::ApplyHostOptions(options, "smsctl");
  std::printf("A simulated modem answers AT commands on %s; its number is %s.\n", simulator.Port().c_str(), kOwnNumber);
  host::CHostSession session(host::Modem::kConfigured, false);
  const int status = CDemo(session).Run();
  if (status == kDone) {
    std::puts(
        "\nDone. With a real modem, for example:\n"
        "  ./run.sh status --device /dev/ttyUSB2\n"
        "  ./run.sh send --device /dev/ttyUSB2 --to +491701234567 \"Hello\"");
  }
  return status;
}

}  // namespace smsctl
