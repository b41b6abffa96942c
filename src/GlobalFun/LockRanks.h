// The one lock order, as numbers for JMutex: rising ranks only. The table with the reasons is docs/threads.md.
#pragma once

namespace LockRank {
enum : int {
  kSendThread = 100,      // CSMSServiceImpl::m_MutexSendThread: a whole send
  kDeviceMgrEvent = 200,  // CSMSServiceImpl::m_OnDeviceMgrEvent: a whole event
  kAwaitDirect = 250,     // CSMSServiceImpl::m_MutexAwaitDirect: waiting until a direct message is stored
  kNewMsgHandle = 300,    // CSMSServiceImpl::m_MutexNewMsgHandle
  kNewMsg = 310,          // CSMSServiceImpl::m_MutexNewMsg
  kDeviceRead = 400,      // CDeviceSMSImpl::m_MutexReadSMS: a load of a device memory
  kReadNewMsg = 500,      // CSMSServiceImpl::m_MutexReadNewMsg: reading a new message from the device
  kMoveNewMsg = 550,      // CSMSServiceImpl::m_MutexMoveNewMsg: moving one stored message to the local store
  kCallback = 600,        // CSMSServiceImpl::m_MutexCallback: every call of a client
  kSendStart = 650,       // CSMSServiceImpl: taking a send request or a cancel, also inside a callback
  kInterface = 700,       // CSMSServiceImpl::m_MutexInterface: client record operations
  kServiceQueues = 750,   // CSMSServiceImpl: moved-while-loading and MMS lists
  kStoreCombine = 800,    // CFileSMSImpl: combination and the store of a part
  kStoreRead = 810,       // CFileSMSImpl::m_MutexReadSMS: a load of the local set
  kStoreInternal = 820,   // short private locks of the stores
  kRecordSet = 900,       // CSMSRecordSetImpl::m_Lock
  kSingleton = 950        // creation of the settings and service singletons
};
}  // namespace LockRank
