// Commands that show what happens while it happens.

#include "Boxes.h"
#include "CommandSession.h"
#include "Interrupt.h"
#include "Text.h"

#include <condition_variable>
#include <cstdio>
#include <mutex>

namespace smsctl {

namespace {

/// Prints every event as one line, at once.
class CPrintingClient : public ISMSEvent {
public:
  void OnSendReport(const ISMSRecord* pRecord) override {
    Print(pRecord->GetSendResult() == NS_SMS::SUCCESS ? "sent" : "not sent", *pRecord);
  }
  void OnNewMessage(const ISMSRecord* pRecord) override {
    const bool flash = pRecord->GetMSGID() == -1;
    Print(flash ? "flash message, not stored" : KindOf(*pRecord), *pRecord);
  }
  void OnServiceState(int iState) override { Line(StateText(iState)); }
  void OnRecordAdded(const ISMSRecord* pRecord) override { Print("in the send box", *pRecord); }
  void OnStoreReady(int iStorage) override {
    static const char* const kStores[] = {"local store loaded", "SIM loaded", "modem memory loaded"};
    Line(kStores[iStorage]);
  }
  void OnRecordChanged(const ISMSRecord* pRecord, DWORD /*dwCode*/) override {
    Line("part " + std::to_string(pRecord->GetMSGID()) + " is now inside a whole message");
  }

protected:
  static void Line(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
  }

private:
  static const char* KindOf(const ISMSRecord& record) {
    switch (record.GetMSGType()) {
      case NS_SMS::MSG_REPORT:
        return record.GetSendResult() == NS_SMS::SUCCESS ? "report: delivered" : "report: not delivered";
      case NS_SMS::MSG_VOICE_MAIL:
        return "voice mail waits";
      case NS_SMS::MSG_CELL_BROADCAST:
        return "broadcast";
      default:
        return "new message";
    }
  }
  static const char* StateText(int iState) {
    switch (iState) {
      case DEVICE_AVAILABLE:
        return "the modem is there";
      case SIM_OK:
        return "the SIM is ready";
      case DEVICE_FULL:
        return "the modem's message memory is full";
      case DEVICE_UNAVAILABLE:
        return "the modem is gone";
      case SIM_FULL:
        return "the SIM's message memory is full";
      case SIM_NOT_AVAILABLE:
        return "there is no usable SIM";
      case CAN_SEND_SMS:
        return "the network lets messages through";
      case CANNOT_SEND_SMS:
        return "no network: messages cannot be sent";
      case CUT_TO_LOCAL_MOVED:
        return "moved a message to the local store";
      case CUT_TO_LOCAL_DELETE_FAILED:
        return "copied a message to the local store; it could not be deleted on the device";
      case CUT_TO_LOCAL_DONE:
        return "all messages are moved";
      default:
        return "unknown state";
    }
  }
  static void Print(const std::string& what, const ISMSRecord& record) {
    Line(what + ", " + ToUtf8(record.GetNumber()) + ": \"" + OneLine(ToUtf8(record.GetContent()), 160) + "\"");
  }
};

}  // namespace

int Watch(const host::HostOptions& options) {
  CInterrupt interrupt;
  host::CHostSession session(host::Modem::kConfigured, !options.settingsFile.empty());
  std::string error;
  if (!session.Start(error)) {
    return Fail(error);
  }
  CPrintingClient client;
  session.Service().RegCallBack(&client);
  interrupt.AwaitInterrupt();
  session.Service().DeRegCallBack(&client);
  return kDone;
}

int Pull(const host::HostOptions& options, const std::string& store) {
  CCommandSession session(options, StorageOf(store));
  if (!session.Open()) {
    return kNotDone;
  }
  CPrintingClient client;
  session.Service().RegCallBack(&client);
  const long result = session.Service().CutAllToLocal(StorageOf(store));
  session.Service().DeRegCallBack(&client);
  return result == ISMSService::SUCCESS ? kDone : Fail("the messages could not be moved; see the trace file");
}

}  // namespace smsctl
