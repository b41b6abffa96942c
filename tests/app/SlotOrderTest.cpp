// The order of the virtual operations: plug-ins built apart agree on it.
#include "IBasePlugin.h"
#include "ISMSEvent.h"
#include "ISMSRecordSet.h"
#include "ISMSService.h"
#include "ISMSSetting.h"
#include "SMSMgr.h"
#include "SMSRecordSetImpl.h"
#include "services/ICellBroadcast.h"
#include "services/IDeviceMgrEvent.h"
#include "services/IUniCommEvent.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <cstring>

namespace {

/// Slot of a virtual operation: a pointer to it holds the offset in the table, plus one (Itanium C++ ABI, 2.3).
template <class Operation>
std::size_t SlotOf(Operation operation) {
  std::size_t uWord = 0;
  std::memcpy(&uWord, &operation, sizeof uWord);
  return (uWord - 1) / sizeof(void*);
}

/// Expects operations in consecutive slots.
template <class First>
void ExpectFrom(std::size_t uSlot, First first) {
  EXPECT_EQ(uSlot, SlotOf(first));
}
template <class First, class... Rest>
void ExpectFrom(std::size_t uSlot, First first, Rest... rest) {
  EXPECT_EQ(uSlot, SlotOf(first));
  ExpectFrom(uSlot + 1, rest...);
}

TEST(SlotOrder, OfTheBaseInterfaces) {
  ExpectFrom(0, &IBaseInterface::Release, &IBaseInterface::GetLastError);
  ExpectFrom(0, &IDestroyEvent::OnDestroy);
}

TEST(SlotOrder, OfAPluginPutsTheDestructorBeforeItsOwnOperations) {
  const std::size_t uAfterDestructor = 4;  // two slots of IBaseInterface, two of the destructor
  ExpectFrom(uAfterDestructor, &IBasePlugin::SetPluginContainer, &IBasePlugin::Init, &IBasePlugin::QueryInterface,
             &IBasePlugin::GetPluginType, &IBasePlugin::GetCLSID, &IBasePlugin::GetVersion, &IBasePlugin::GetPluginName,
             &IBasePlugin::IsAllowRelease, &IBasePlugin::OnDestroy);
}

TEST(SlotOrder, OfARecord) {
  typedef ISMSRecord& (ISMSRecord::*Assign)(const ISMSRecord*);
  ExpectFrom(2, &ISMSRecord::GetNumber, &ISMSRecord::SetNumber, &ISMSRecord::GetContent, &ISMSRecord::SetContent,
             &ISMSRecord::GetTime, &ISMSRecord::SetTime, &ISMSRecord::GetIsRead, &ISMSRecord::SetIsRead,
             &ISMSRecord::GetInitialPosition, &ISMSRecord::SetInitialPosition, &ISMSRecord::GetPosition,
             &ISMSRecord::SetPosition, &ISMSRecord::GetSendResult, &ISMSRecord::SetSendResult, &ISMSRecord::GetMSGType,
             &ISMSRecord::SetMSGType, &ISMSRecord::GetMSGID, &ISMSRecord::SetMSGID, &ISMSRecord::GetMSGInfo,
             &ISMSRecord::SetMSGInfo, &ISMSRecord::InitToCurrTime, &ISMSRecord::GetSMSPriority,
             &ISMSRecord::SetSMSPriority, &ISMSRecord::GetSMSClass, &ISMSRecord::SetSMSClass,
             static_cast<Assign>(&ISMSRecord::operator=));
}

TEST(SlotOrder, OfARecordSetEndsWithPushAndRemoveAfterTheDestructor) {
  ExpectFrom(2, &ISMSRecordSet::MoveFirst, &ISMSRecordSet::MoveNext, &ISMSRecordSet::GetNumber,
             &ISMSRecordSet::GetContent, &ISMSRecordSet::GetTime, &ISMSRecordSet::GetIsRead,
             &ISMSRecordSet::GetPosition, &ISMSRecordSet::GetSendResult, &ISMSRecordSet::GetSMSClass,
             &ISMSRecordSet::GetMSGType, &ISMSRecordSet::GetMSGID, &ISMSRecordSet::GetMSGInfo,
             &ISMSRecordSet::GetSMSPriority, &ISMSRecordSet::GetCurSMSRecord, &ISMSRecordSet::GetRecordCount,
             &ISMSRecordSet::GetUnReadSMSCount, &ISMSRecordSet::GetSMSRecord, &ISMSRecordSet::GetSMSRecordCopy);
  const std::size_t uDestructor = SlotOf(&ISMSRecordSet::GetSMSRecordCopy) + 1;
  ExpectFrom(uDestructor + 2, &CSMSRecordSetImpl::PushSMSRecord, &CSMSRecordSetImpl::RemoveSMSRecord);
}

TEST(SlotOrder, OfTheSettings) {
  ExpectFrom(2, &ISMSSetting::GetSMSCentreNumber, &ISMSSetting::SetSMSCentreNumber, &ISMSSetting::GetSMSValidityPeriod,
             &ISMSSetting::SetSMSValidityPeriod, &ISMSSetting::GetSMSReceiveMode, &ISMSSetting::GetSMSReceiptNotify,
             &ISMSSetting::SetSMSReceiptNotify, &ISMSSetting::GetSMSGroupSendLimit, &ISMSSetting::GetCBSAutoCleanup,
             &ISMSSetting::GetSMSPriority, &ISMSSetting::SetSMSPriority, &ISMSSetting::AddCBSChannel,
             &ISMSSetting::CBSGetDetail, &ISMSSetting::RemoveCBSChannel, &ISMSSetting::CBSReleaseDetail,
             &ISMSSetting::CBSSetService);
}

TEST(SlotOrder, OfTheService) {
  ExpectFrom(2, &ISMSService::SendMsg, &ISMSService::CancelSendMsg, &ISMSService::GetSMSRecordSet, &ISMSService::GetMsg,
             &ISMSService::SaveMsg, &ISMSService::UpdateMsg, &ISMSService::DeleteMsg, &ISMSService::RemoveRecord,
             &ISMSService::GetMsgSplitCount, &ISMSService::RegCallBack, &ISMSService::DeRegCallBack,
             &ISMSService::GetRecordInfo, &ISMSService::GetSMSSetting, &ISMSService::CreateSMSRecordSet,
             &ISMSService::CreateSMSRecord, &ISMSService::ReleaseSMSRecord, &ISMSService::Phonebook_Content_Encode,
             &ISMSService::Phonebook_Content_Coding_Judge, &ISMSService::BeginTransaction, &ISMSService::EndTransaction,
             &ISMSService::CutAllToLocal, &ISMSService::RegisterCallBackForMms, &ISMSService::UnRegisterCallBackForMms);
}

TEST(SlotOrder, OfTheSinksHasNothingInFront) {
  ExpectFrom(0, &ISMSEvent::OnSendReport, &ISMSEvent::OnNewMessage, &ISMSEvent::OnServiceState,
             &ISMSEvent::OnRecordAdded, &ISMSEvent::OnStoreReady, &ISMSEvent::OnRecordChanged);
  ExpectFrom(0, &IDeviceMgrEvent::OnDeviceMgrEvent);
  ExpectFrom(0, &IUniCommEvent::OnUniCommEvent);
}

TEST(SlotOrder, OfTheBroadcastOperations) {
  ExpectFrom(0, &ICellBroadcast::CBSSetService, &ICellBroadcast::CBSGetDetail, &ICellBroadcast::CBSReleaseDetail,
             &ICellBroadcast::CBSAddChannel, &ICellBroadcast::CBSRemoveChannel);
}

TEST(SlotOrder, OfAStorePutsTheDestructorFirst) {
  ExpectFrom(2, &CSMSMgr::GetReocrdList, &CSMSMgr::SaveRecord, &CSMSMgr::GetRecord, &CSMSMgr::UpdateRecord,
             &CSMSMgr::DeleteRecord, &CSMSMgr::RemoveRecord, &CSMSMgr::GetRecordInfo, &CSMSMgr::StartThread,
             &CSMSMgr::BackBeforeInit, &CSMSMgr::CheckIsFull);
}

}  // namespace
