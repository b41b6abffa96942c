// Several threads on the local store at once.
#include "StoreSupport.h"
#include "Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <atomic>
#include <set>
#include <thread>

namespace {

/// Runs the functions on a thread each, all let go at once.
void Together(const std::vector<std::function<void()>>& works) {
  std::atomic<std::size_t> ready{0};
  std::vector<std::thread> threads;
  for (const auto& work : works) {
    threads.emplace_back([&ready, &works, work] {
      ++ready;
      while (ready < works.size()) {
        std::this_thread::yield();
      }
      work();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

void SaveOne(CFileSMSImpl& store, CSMSRecordImpl record) { EXPECT_EQ(0, Save(store, record).result); }

TEST(LocalStoreThreads, TwoThatSaveTheLastTwoPartsAtOnceCompleteTheMessage) {
  CStoreHome home;
  for (int reference = 1; reference <= 40; ++reference) {
    SaveOne(home.Store(), MakePart(u"1", 1, 3, reference));
    Together({[&] { SaveOne(home.Store(), MakePart(u"2", 2, 3, reference)); },
              [&] { SaveOne(home.Store(), MakePart(u"3", 3, 3, reference)); }});
    ASSERT_EQ(reference, home.Set().GetRecordCount());
  }
  for (const std::string& content : Contents(home.Set())) {
    EXPECT_EQ("123", content);
  }
}

TEST(LocalStoreThreads, TwoThatCompleteTheSameMessageAtOnceMakeItOnce) {
  CStoreHome home;
  for (int reference = 1; reference <= 40; ++reference) {
    SaveOne(home.Store(), MakePart(u"1", 1, 3, reference));
    SaveOne(home.Store(), MakePart(u"2", 2, 3, reference));
    Together({[&] { SaveOne(home.Store(), MakePart(u"3", 3, 3, reference)); },
              [&] { SaveOne(home.Store(), MakePart(u"3", 3, 3, reference)); }});
    const std::vector<std::string> contents = Contents(home.Set());
    EXPECT_EQ(reference, std::count(contents.begin(), contents.end(), "123"));
    EXPECT_EQ(reference, std::count(contents.begin(), contents.end(), "3"));
    EXPECT_EQ(2u * static_cast<unsigned>(reference), contents.size());
  }
}

TEST(LocalStoreThreads, SaversChangersRemoversAndReadersLeaveRowsAndSetInAgreement) {
  CStoreHome home;
  std::vector<long> ids;
  for (int i = 0; i < 30; ++i) {
    CSMSRecordImpl record = MakeRecord(u"text");
    ids.push_back(Save(home.Store(), record).id);
  }
  Together({[&] {
              for (int i = 0; i < 40; ++i) {
                SaveOne(home.Store(), MakeRecord(u"saved"));
              }
            },
            [&] {
              for (const long id : ids) {
                CSMSRecordImpl record = MakeRecord(u"changed");
                record.SetMSGID(id);
                home.Store().UpdateRecord(&record);
              }
            },
            [&] {
              for (const long id : ids) {
                home.Store().DeleteRecord(id);
              }
            },
            [&] {
              for (std::size_t i = 0; i < ids.size(); i += 2) {
                home.Store().RemoveRecord(ids[i]);
              }
            },
            [&] {
              for (int i = 0; i < 200; ++i) {
                CSMSRecordImpl record(ids[static_cast<std::size_t>(i) % ids.size()]);
                home.Store().GetRecord(&record);
                home.Set().GetUnReadSMSCount();
                home.Set().MoveFirst();
              }
            },
            [&] {
              for (int i = 0; i < 10; ++i) {
                home.Store().StartThread();
              }
            }});
  std::set<std::string> shown;
  for (const CSMSRecordImpl& record : Records(home.Set())) {
    shown.insert(std::to_string(record.GetMSGID()) + "|" + Describe(record));
  }
  const std::vector<std::string> rows = home.Rows();
  EXPECT_EQ(std::set<std::string>(rows.begin(), rows.end()), shown);
  EXPECT_EQ(15u + 40u, rows.size());
}

TEST(LocalStoreThreads, GoingBackWhileOthersSaveLosesNothing) {
  CStoreHome home;
  Together({[&] {
              for (int i = 0; i < 60; ++i) {
                SaveOne(home.Store(), MakeRecord(u"one"));
              }
            },
            [&] {
              for (int i = 0; i < 60; ++i) {
                SaveOne(home.Store(), MakePart(u"two", 1 + i % 2, 2, i / 2));
              }
            },
            [&] {
              for (int i = 0; i < 30; ++i) {
                home.Store().BackBeforeInit();
                home.Store().StartThread();
              }
            }});
  EXPECT_EQ(90, home.Set().GetRecordCount());
  EXPECT_EQ(90u, home.Rows().size());
}

TEST(LocalStoreThreads, ASaverWaitsForATransactionOfAnotherThreadWithoutHoldingItUp) {
  CStoreHome home;
  std::atomic<bool> begun{false};
  std::atomic<bool> saving{false};
  Together({[&] {
              EXPECT_EQ(0, home.Store().BeginTransaction());
              begun = true;
              while (!saving) {
                std::this_thread::yield();
              }
              for (int i = 0; i < 20; ++i) {
                SaveOne(home.Store(), MakeRecord(u"bracketed"));
              }
              EXPECT_EQ(0, home.Store().EndTransaction());
            },
            [&] {
              while (!begun) {
                std::this_thread::yield();
              }
              saving = true;
              SaveOne(home.Store(), MakePart(u"received", 1, 2));
            }});
  EXPECT_EQ(21, home.Set().GetRecordCount());
  EXPECT_EQ(21u, home.Rows().size());
}

}  // namespace
