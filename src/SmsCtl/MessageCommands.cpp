// Commands about stored messages.

#include "Boxes.h"
#include "CommandSession.h"
#include "Text.h"

#include <cstdio>
#include <functional>
#include <memory>

namespace smsctl {

namespace {

struct ReleaseRecord {
  void operator()(ISMSRecord* record) const { record->Release(); }
};
typedef std::unique_ptr<ISMSRecord, ReleaseRecord> RecordPtr;

std::string NoSuchMessage(const std::string& store, long id) {
  return "there is no message " + std::to_string(id) + " in the " + store + " store; \"smsctl list --store " + store +
         "\" shows them";
}

/// A copy of a listed message; null when there is none.
RecordPtr FindCopy(ISMSService& service, const std::string& store, long id) {
  ISMSRecordSet* const set = service.GetSMSRecordSet(StorageOf(store));
  return RecordPtr(set == nullptr ? nullptr : set->GetSMSRecordCopy(id));
}

/// Opens the store, finds the message and lets `act` work on it; 0 is success.
int WithMessage(const host::HostOptions& options, const std::string& store, long id, const char* failure,
                const std::function<long(ISMSService&, ISMSRecord&)>& act) {
  CCommandSession session(options, StorageOf(store));
  if (!session.Open()) {
    return kNotDone;
  }
  const RecordPtr record = FindCopy(session.Service(), store, id);
  if (!record) {
    return Fail(NoSuchMessage(store, id));
  }
  return act(session.Service(), *record) == ISMSService::SUCCESS ? kDone : Fail(failure);
}

void PrintBoxWithTitle(ISMSService& service, int iStorage, int iPosition) {
  std::printf("%s\n", BoxName(iPosition));
  if (PrintBox(service, iStorage, iPosition) == 0) {
    std::puts("  empty");
  }
}

bool HoldsAny(ISMSService& service, int iStorage, int iPosition) {
  ISMSRecordSet* const set = service.GetSMSRecordSet(iStorage);
  for (long state = set == nullptr ? NS_SMS::RECORD_EOF : set->MoveFirst(); state == 0; state = set->MoveNext()) {
    if (set->GetPosition() == iPosition) {
      return true;
    }
  }
  return false;
}

void PrintLine(const char* name, const std::string& value) { std::printf("%-9s %s\n", name, value.c_str()); }

}  // namespace

int List(const host::HostOptions& options, const std::string& store, const std::string& box) {
  const int storage = StorageOf(store);
  if (!box.empty() && storage != NS_SMS::SMS_LOCAL) {
    return Fail("--box names a box of the local store; leave --store out");
  }
  CCommandSession session(options, storage);
  if (!session.Open()) {
    return kNotDone;
  }
  if (!box.empty()) {
    PrintBoxWithTitle(session.Service(), storage, PositionOf(box));
    return kDone;
  }
  bool any = false;
  for (int position = 0; position < NS_SMS::MSG_POSITION_NUM; ++position) {
    if (HoldsAny(session.Service(), storage, position)) {
      any = true;
      PrintBoxWithTitle(session.Service(), storage, position);
    }
  }
  if (!any) {
    std::printf("no messages in the %s store\n", store.c_str());
  }
  return kDone;
}

int Show(const host::HostOptions& options, const std::string& store, long id) {
  return WithMessage(options, store, id, "", [](ISMSService&, ISMSRecord& record) {
    const int position = record.GetPosition();
    PrintLine("box", BoxName(position));
    PrintLine("number", ToUtf8(record.GetNumber()));
    PrintLine("time", ReadableTime(ToUtf8(record.GetTime())));
    PrintLine("state", MarkOf(position, record.GetSendResult(), record.GetIsRead()));
    std::printf("\n%s\n", Printable(ToUtf8(record.GetContent())).c_str());
    return static_cast<long>(ISMSService::SUCCESS);
  });
}

int Save(const host::HostOptions& options, const std::string& box, const std::string& number, const std::string& text) {
  CCommandSession session(options, NS_SMS::SMS_LOCAL);
  if (!session.Open()) {
    return kNotDone;
  }
  ISMSRecord* made = nullptr;
  session.Service().CreateSMSRecord(&made, -1);
  const RecordPtr record(made);
  if (!record) {
    return Fail("out of memory");
  }
  record->SetInitialPosition(PositionOf(box));
  record->SetPosition(PositionOf(box));
  record->SetNumber(ToUtf16(number).c_str());
  record->SetContent(ToUtf16(text).c_str());
  long id = -1;
  long count = 1;
  if (session.Service().SaveMsg(record.get(), &id, count) != ISMSService::SUCCESS) {
    return Fail("the message could not be saved; see the trace file");
  }
  std::printf("%ld\n", id);
  return kDone;
}

int MarkRead(const host::HostOptions& options, const std::string& store, long id) {
  return WithMessage(options, store, id, "the message could not be changed; see the trace file",
                     [](ISMSService& service, ISMSRecord& record) {
                       record.SetIsRead(NS_SMS::IS_READ);
                       return service.UpdateMsg(&record);
                     });
}

int Delete(const host::HostOptions& options, const std::string& store, long id) {
  return WithMessage(
      options, store, id,
      "this message is in the recycle box already, or is a report; \"smsctl remove\" removes it for good",
      [&](ISMSService& service, ISMSRecord&) { return service.DeleteMsg(id, StorageOf(store)); });
}

int Remove(const host::HostOptions& options, const std::string& store, long id) {
  return WithMessage(options, store, id, "the message could not be removed; see the trace file",
                     [&](ISMSService& service, ISMSRecord&) { return service.RemoveRecord(id, StorageOf(store)); });
}

int Move(const host::HostOptions& options, long id, const std::string& box) {
  return WithMessage(options, "local", id, "the message could not be moved; see the trace file",
                     [&](ISMSService& service, ISMSRecord& record) {
                       record.SetPosition(PositionOf(box));
                       return service.UpdateMsg(&record);
                     });
}

}  // namespace smsctl
