// The harmless defaults of a store.
#include "SMSMgr.h"

#include "CatchAll.h"
#include "SMSRecordSetImpl.h"

#include <new>

CSMSMgr::~CSMSMgr() = default;

CSMSRecordSetImpl* CSMSMgr::GetReocrdList() {
  try {
    return new (std::nothrow) CSMSRecordSetImpl;
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return nullptr; }
}

long CSMSMgr::SaveRecord(ISMSRecord* /*record*/, long* /*id*/, long& /*saved*/) { return 0; }

long CSMSMgr::GetRecord(ISMSRecord* /*record*/) { return 0; }

long CSMSMgr::UpdateRecord(ISMSRecord* /*record*/) { return 0; }

long CSMSMgr::DeleteRecord(long /*id*/) { return 0; }

long CSMSMgr::RemoveRecord(long /*id*/) { return 0; }

long CSMSMgr::GetRecordInfo(int& /*capacity*/, int& /*used*/) { return 0; }

void CSMSMgr::StartThread() {}

void CSMSMgr::BackBeforeInit() {}

int CSMSMgr::CheckIsFull() { return -1; }
