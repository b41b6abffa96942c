// The demo: what comes in.
#include "Demo.h"

#include "Boxes.h"
#include "Text.h"
#include "platform/GlobalFunction.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace smsctl {

namespace {

typedef nlohmann::json Json;

const char kSender[] = "+491700000002";
const std::chrono::seconds kStepLimit(60);
const int kChannel = 50;

const char kOutOfOrderText[] =
    "An answer in three parts, and the network brings the third one first, then the first, then the second. Each part "
    "is stored when it comes, so that nothing is lost should the computer fail in between; a part alone is a message "
    "of its own, listed with its place. When the last one is here, the three become one message in the order that "
    "was meant, and the parts go. That is why you read this text from its beginning to its end, in one piece.";
const char kFlashText[] = "A flash message: read it now, it is kept nowhere.";
const char kPageText[] = "Broadcast to everybody near this mast: the bridge is closed until noon.";
const char* const kSimTexts[] = {"A message that stays on the SIM.", "Another one."};

}  // namespace

bool CDemo::Simulate(const std::string& request) {
  std::string error;
  return m_simulator.Do(request, error) || FailStep(error);
}

bool CDemo::Receive(const std::string& request, const char* text, Received& message) {
  return Simulate(request) && (m_pClient->AwaitMessage(text, kStepLimit, message) ||
                               FailStep("\"" + OneLine(text, 40) + "\" did not come in"));
}

bool CDemo::ReceivePartsOutOfOrder() {
  BeginStep("A long message whose parts arrive in the order 3, 1, 2");
  const Json request = {{"do", "deliver"}, {"from", kSender}, {"text", kOutOfOrderText}, {"parts", {3, 1, 2}}};
  Received message;
  if (!Receive(request.dump(), kOutOfOrderText, message)) {
    return false;
  }
  std::puts("   the receive box");
  return PrintBox(m_session.Service(), NS_SMS::SMS_LOCAL, NS_SMS::RECEIVE_BOX) == 2 ||
         FailStep("the parts are not one message");
}

bool CDemo::ReceiveFlash() {
  BeginStep("A message of class 0");
  const Json request = {{"do", "deliver"}, {"from", kSender}, {"text", kFlashText}, {"class", 0}};
  Received message;
  return Receive(request.dump(), kFlashText, message) && (message.id == -1 || FailStep("the flash message was stored"));
}

bool CDemo::ReceiveBroadcast() {
  BeginStep("A page on broadcast channel " + std::to_string(kChannel));
  ISMSSetting* setting = nullptr;
  DWORD status = 0;
  if (m_session.Service().GetSMSSetting(&setting) != ISMSService::SUCCESS ||
      !setting->AddCBSChannel(std::to_string(kChannel).c_str()) || !setting->CBSSetService(CBS_STAT_OPEN, &status)) {
    return FailStep("the channel cannot be listened to");
  }
  const Json request = {{"do", "page"}, {"channel", kChannel}, {"text", kPageText}};
  Received message;
  return Receive(request.dump(), kPageText, message) &&
         (message.type == NS_SMS::MSG_CELL_BROADCAST || FailStep("the page is not known as a broadcast"));
}

bool CDemo::MoveMessagesOfTheSim() {
  BeginStep("Messages that stay on the SIM, and are then moved to this computer");
  // read for every message that comes in
  CGlobalFunction::SetSetting(u"SMSSERVICE", u"ReceviceMode", u"0");
  int count = 0;
  for (const char* const text : kSimTexts) {
    const Json request = {{"do", "deliver"}, {"from", kSender}, {"text", text}};
    Received message;
    if (!Receive(request.dump(), text, message)) {
      return false;
    }
    ++count;
  }
  std::puts("   on the SIM");
  if (PrintBox(m_session.Service(), NS_SMS::SMS_SIM, NS_SMS::RECEIVE_BOX_SIM) != count) {
    return FailStep("the SIM does not hold its messages");
  }
  if (m_session.Service().CutAllToLocal(NS_SMS::SMS_SIM) != ISMSService::SUCCESS ||
      !m_pClient->AwaitMoved(count, kStepLimit)) {
    return FailStep("the messages of the SIM could not be moved");
  }
  std::printf("   %s moved; the receive box\n", Counted(count, "message").c_str());
  return PrintBox(m_session.Service(), NS_SMS::SMS_LOCAL, NS_SMS::RECEIVE_BOX) == 4 ||
         FailStep("the receive box does not hold what was moved");
}

}  // namespace smsctl
