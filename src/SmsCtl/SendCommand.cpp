#include "Commands.h"

#include "HostSession.h"
#include "Interrupt.h"
#include "Measure.h"
#include "SendWatcher.h"
#include "Text.h"
#include "platform/PlatformPaths.h"

#include <cstdio>

namespace smsctl {

namespace {

const std::size_t kNumberDigits = 20;  // 3GPP TS 23.040, 9.1.2.5
const std::chrono::seconds kNetworkLimit(30);
// The service gives a part 70 seconds; a little more for saving.
const std::chrono::seconds kPartLimit(75);

/// Empty when the list can be sent to, else why not.
std::string WhyNoRecipients(ISMSService& service, const std::vector<std::string>& numbers) {
  if (numbers.empty()) {
    return "no recipient: give numbers with --to, separated by \",\" or \";\"";
  }
  for (const std::string& number : numbers) {
    if (number.find_first_not_of("+0123456789*#") != std::string::npos) {
      return "\"" + Printable(number) + "\" is no phone number: write digits, for example +491701234567";
    }
    if (number.size() - (number[0] == '+' ? 1 : 0) > kNumberDigits) {
      return "\"" + number + "\" is no phone number: it has more than " + std::to_string(kNumberDigits) + " digits";
    }
  }
  ISMSSetting* setting = nullptr;
  int limit = MSG_GROUP_SEND_MAX_NUMBER;
  if (service.GetSMSSetting(&setting) == ISMSService::SUCCESS && setting != nullptr) {
    setting->GetSMSGroupSendLimit(limit);
  }
  if (numbers.size() > static_cast<std::size_t>(limit)) {
    return std::to_string(numbers.size()) + " recipients are too many, " + std::to_string(limit) +
           " can be sent to at once; send in several groups";
  }
  return std::string();
}

void PrintReport(const PartReport& report, long parts) {
  std::printf("part %d of %ld to %s: %s\n", report.part, parts, report.number.c_str(), report.sent ? "sent" : "failed");
  std::fflush(stdout);
}

int Summarise(const std::vector<Recipient>& recipients, long parts, bool cancelled) {
  int failed = 0;
  bool stored = true;
  for (const Recipient& recipient : recipients) {
    failed += IsWhole(recipient, parts) ? 0 : 1;
    stored = stored && recipient.stored;
    std::printf("%s: %s\n", recipient.number.c_str(), Outcome(recipient, parts).c_str());
  }
  if (!stored) {
    return Fail("the message could not be kept in the send box; see the trace file");
  }
  if (cancelled) {
    return kCancelled;
  }
  return failed == 0
             ? kDone
             : Fail(std::to_string(failed) + " of " + Counted(static_cast<long>(recipients.size()), "recipient") +
                    " not reached; the message is in the send box, the cause in " + GetPlatformPaths().strLogFile);
}

}  // namespace

int Send(const host::HostOptions& options, const std::string& recipients, const std::string& text) {
  CInterrupt interrupt;
  host::CHostSession session(host::Modem::kConfigured, !options.settingsFile.empty());
  std::string error;
  if (!session.Start(error)) {
    return Fail(error);
  }
  ISMSService& service = session.Service();
  const std::vector<std::string> numbers = SplitNumbers(recipients);
  const std::string why = WhyNoRecipients(service, numbers);
  if (!why.empty()) {
    return Fail(why);
  }
  const Cost cost = Measure(service, ToUtf16(text));
  if (text.empty() || cost.parts < 1) {
    return Fail(text.empty() ? "the text is empty" : "the text does not fit into 255 parts; shorten it");
  }
  CSendWatcher watcher;
  service.RegCallBack(&watcher);
  if (!watcher.AwaitCanSend(kNetworkLimit)) {
    service.DeRegCallBack(&watcher);
    return Fail("the modem has no network; check SIM and antenna with \"smsctl status\"");
  }
  watcher.Begin(numbers, [&](const PartReport& report) { PrintReport(report, cost.parts); });
  service.SendMsg(ToUtf16(recipients).c_str(), ToUtf16(text).c_str());
  interrupt.OnInterrupt([&] {
    std::fprintf(stderr, "smsctl: cancelling after the part in flight\n");
    long notSent = 0;
    if (service.CancelSendMsg(notSent) == ISMSService::SUCCESS) {
      std::printf("cancelled: %s not sent\n", Counted(notSent, "part").c_str());
    }
  });
  const bool ended = watcher.AwaitEnd(kPartLimit * (cost.parts * static_cast<long>(numbers.size()) + 1));
  const bool cancelled = interrupt.Finish();
  service.DeRegCallBack(&watcher);
  return ended ? Summarise(watcher.Recipients(), cost.parts, cancelled) : Fail("the modem gave no verdict in time");
}

}  // namespace smsctl
