// The demo: what leaves.
#include "Demo.h"

#include "Measure.h"
#include "Text.h"

#include <cstdio>

namespace smsctl {

namespace {

const char kFriend[] = "+491700000002";
const char kBothFriends[] = "+491700000002;+491700000003";
const std::chrono::seconds kStepLimit(60);

const char kShortText[] = "Hello from SmsAppPlugin.";
const char kLongText[] =
    "Three parts: the price is 25 \u20AC and we are glad \U0001F600. A euro sign alone would still fit the 7-bit "
    "alphabet as two characters, but the emoji needs 16-bit coding, so a part holds 67 units.";
const char kCancelledText[] =
    "A long text that nobody will read to its end, because it is cancelled while its second part is on the way. Five "
    "parts of 153 characters would be needed for all of it, to each of two people, and the service tells how many of "
    "these ten parts did not leave the computer. What has been given to the network cannot be taken back, so the part "
    "in flight still gets its verdict; the others stay here. The whole text is kept in the send box all the same, so "
    "that it can be sent again later. That is the promise of a send box: whatever happens to the modem, to the network "
    "or to the program, the words of a person are still there. This sentence fills the last of the five parts.";

const char kAnsweredText[] =
    "A message to myself. It is longer than one part holds, so it leaves in two parts; the network brings both back, "
    "the host "
    "reads them from the SIM, joins them, keeps one whole message and deletes the copies on the SIM.";

}  // namespace

bool CDemo::BeginSend(const std::string& title, const std::string& recipients, const char* text) {
  BeginStep(title);
  const Cost cost = Measure(m_session.Service(), ToUtf16(text));
  std::printf("   \"%s\"\n   %s, %s\n", OneLine(text, 68).c_str(), Counted(cost.parts, "part").c_str(),
              EncodingName(cost));
  m_parts = cost.parts;
  m_pClient->Begin(SplitNumbers(recipients), [parts = cost.parts](const PartReport& report) {
    std::printf("   part %d of %ld to %s: %s\n", report.part, parts, report.number.c_str(),
                report.sent ? "sent" : "not sent");
    std::fflush(stdout);
  });
  return m_session.Service().SendMsg(ToUtf16(recipients).c_str(), ToUtf16(text).c_str()) == ISMSService::SUCCESS ||
         FailStep("SendMsg failed");
}

bool CDemo::EndSend() {
  if (!m_pClient->AwaitEnd(kStepLimit)) {
    return FailStep("no verdict in time");
  }
  bool stored = true;
  for (const Recipient& recipient : m_pClient->Recipients()) {
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
  for (const Recipient& recipient : m_pClient->Recipients()) {
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
  if (!m_pClient->AwaitReports(1, kStepLimit)) {
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
  for (const Recipient& recipient : m_pClient->Recipients()) {
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
  Received message;
  if (!m_pClient->AwaitMessage(kAnsweredText, kStepLimit, message) || !m_pClient->AwaitDeliveryReports(2, kStepLimit)) {
    return FailStep("the message or its reports did not come back");
  }
  return setting->SetSMSReceiptNotify(0) == 0 || FailStep("delivery reports cannot be left out again");
}

bool CDemo::LoseModemWhileSending() {
  if (!BeginSend("The modem is unplugged while it sends, and plugged in again", kFriend, kCancelledText)) {
    return false;
  }
  if (!m_pClient->AwaitReports(1, kStepLimit) || !Simulate(R"({"do":"unplug"})")) {
    return FailStep("the modem could not be unplugged in the middle");
  }
  if (!m_pClient->AwaitModem(false, kStepLimit)) {
    return FailStep("nobody noticed that the modem is gone");
  }
  std::puts("   the modem is gone");
  if (!EndSend()) {
    return false;
  }
  if (IsWhole(m_pClient->Recipients().front(), m_parts)) {
    return FailStep("a message was sent without a modem");
  }
  if (!Simulate(R"({"do":"plug"})") || !m_pClient->AwaitModem(true, kStepLimit) ||
      !m_pClient->AwaitCanSend(kStepLimit)) {
    return FailStep("the modem did not come back");
  }
  std::puts("   the modem is back");
  return BeginSend("One part through the modem that came back", kFriend, kShortText) && EndSend({"sent"});
}

}  // namespace smsctl
