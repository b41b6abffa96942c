// The base of the stores: defaults that do no harm; and all stores without memory for a set.
#include "DeviceSMSImpl.h"
#include "SMSMgr.h"
#include "StoreSupport.h"
#include "TraceCapture.h"

#include <gtest/gtest.h>
#include <atomic>
#include <new>
#include <type_traits>

namespace {
thread_local bool g_bNoMemory = false;
}  // namespace

// What the base allocates sets with; fails on request.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (g_bNoMemory) {
    return nullptr;
  }
  try {
    return ::operator new(size);
  } catch (...) {
    return nullptr;
  }
}

namespace {

TEST(StoreBase, AnswersZeroToEveryRecordOperationAndTouchesNothing) {
  CSMSMgr store;
  CSMSRecordImpl record(7L);
  long id = 11;
  long saved = 12;
  int capacity = 13;
  int used = 14;
  EXPECT_EQ(0, store.SaveRecord(&record, &id, saved));
  EXPECT_EQ(0, store.GetRecord(&record));
  EXPECT_EQ(0, store.UpdateRecord(&record));
  EXPECT_EQ(0, store.DeleteRecord(7));
  EXPECT_EQ(0, store.RemoveRecord(7));
  EXPECT_EQ(0, store.GetRecordInfo(capacity, used));
  EXPECT_EQ(11, id);
  EXPECT_EQ(12, saved);
  EXPECT_EQ(13, capacity);
  EXPECT_EQ(14, used);
}

TEST(StoreBase, TakesNullArguments) {
  CSMSMgr store;
  long saved = 0;
  EXPECT_EQ(0, store.SaveRecord(nullptr, nullptr, saved));
  EXPECT_EQ(0, store.GetRecord(nullptr));
  EXPECT_EQ(0, store.UpdateRecord(nullptr));
}

TEST(StoreBase, DoesNotKnowWhetherItIsFull) {
  CSMSMgr store;
  store.StartThread();
  store.BackBeforeInit();
  EXPECT_EQ(-1, store.CheckIsFull());
}

TEST(StoreBase, HandsOutAFreshEmptySetEachTimeThatTheCallerReleases) {
  CSMSMgr store;
  CSMSRecordSetImpl* const first = store.GetReocrdList();
  CSMSRecordSetImpl* const second = store.GetReocrdList();
  ASSERT_NE(nullptr, first);
  ASSERT_NE(nullptr, second);
  EXPECT_NE(first, second);
  EXPECT_EQ(0, first->GetRecordCount());
  EXPECT_EQ(0, second->GetRecordCount());
  first->Release();
  second->Release();
}

CSMSRecordSetImpl* AskWithoutMemory(CSMSMgr& store) {
  g_bNoMemory = true;
  CSMSRecordSetImpl* const set = store.GetReocrdList();
  g_bNoMemory = false;
  return set;
}

TEST(StoreBase, AnswersNullWhenThereIsNoMemoryForASet) {
  CSMSMgr store;
  EXPECT_EQ(nullptr, AskWithoutMemory(store));
}

TEST(LocalStoreLoad, AnswersNullWhenThereIsNoMemoryForASetAndLoadsLater) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"text");
  ASSERT_EQ(0, Save(home.Store(), record).result);
  home.Store().BackBeforeInit();
  CTraceCapture trace;
  EXPECT_EQ(nullptr, AskWithoutMemory(home.Store()));
  EXPECT_TRUE(trace.Contains("ReadRecord Fail : ReadFile or  Create set error!"));
  EXPECT_TRUE(home.Store().GetInitFlag());
  EXPECT_EQ(1, home.Set().GetRecordCount());
}

TEST(DeviceStore, AnswersNullWhenThereIsNoMemoryForAMirror) {
  const CTempHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, nullptr);
  EXPECT_EQ(nullptr, AskWithoutMemory(store));
  EXPECT_NE(nullptr, store.GetReocrdList());
}

TEST(StoreBase, IsDestroyedThroughABasePointer) {
  static std::atomic<int> ended{0};
  struct CCounting : CSMSMgr {
    ~CCounting() override { ++ended; }
  };
  CSMSMgr* const store = new CCounting;
  delete store;
  EXPECT_EQ(1, ended);
  EXPECT_TRUE(std::has_virtual_destructor_v<CSMSMgr>);
}

}  // namespace
