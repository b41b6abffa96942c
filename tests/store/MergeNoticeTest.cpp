// The local store tells clients of the parts it merges.
#include "DeviceHome.h"
#include "Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

struct NoticeHome : CDeviceHome {
  NoticeHome() : store(Service()) { Service()->RegCallBack(&client); }
  ~NoticeHome() { Service()->DeRegCallBack(&client); }

  std::vector<std::string> Notices() const {
    std::vector<std::string> notices;
    for (const std::string& line : client.Lines()) {
      if (line.rfind("OnRecordChanged", 0) == 0) {
        notices.push_back(line);
      }
    }
    return notices;
  }
  long SaveIt(CSMSRecordImpl record) {
    const SaveResult saved = Save(store, record);
    EXPECT_EQ(0, saved.result);
    return saved.id;
  }

  CFakeClient client;
  CFileSMSImpl store;
};

std::string Notice(long id) { return "OnRecordChanged id=" + std::to_string(id) + " code=20410"; }

TEST(MergeNotice, GoesOutOncePerStoredPartInPartOrder) {
  NoticeHome home;
  const long third = home.SaveIt(MakePart(u"3", 3, 4));
  const long first = home.SaveIt(MakePart(u"1", 1, 4));
  const long fourth = home.SaveIt(MakePart(u"4", 4, 4));
  EXPECT_THAT(home.Notices(), testing::IsEmpty());
  home.SaveIt(MakePart(u"2", 2, 4));
  EXPECT_THAT(home.Notices(), ElementsAre(Notice(first), Notice(third), Notice(fourth)));
  EXPECT_THAT(Contents(*home.store.GetReocrdList()), ElementsAre("1234"));
}

TEST(MergeNotice, ComesWhileThePartIsStillThereAndTheWholeMessageAlready) {
  NoticeHome home;
  home.SaveIt(MakePart(u"1", 1, 2));
  std::vector<std::string> seen;
  home.client.SetHook([&](const std::string& line) {
    if (line.rfind("OnRecordChanged", 0) == 0) {
      seen = Contents(*home.store.GetReocrdList());
    }
  });
  home.SaveIt(MakePart(u"2", 2, 2));
  EXPECT_THAT(seen, ElementsAre("1", "12"));
  EXPECT_THAT(Contents(*home.store.GetReocrdList()), ElementsAre("12"));
}

TEST(MergeNotice, ThatMakesAClientThrowStillLetsThePartsBeRemoved) {
  NoticeHome home;
  home.SaveIt(MakePart(u"1", 1, 3));
  home.SaveIt(MakePart(u"2", 2, 3));
  home.client.SetHook([](const std::string& line) {
    if (line.rfind("OnRecordChanged", 0) == 0) {
      throw 42;
    }
  });
  home.SaveIt(MakePart(u"3", 3, 3));
  home.client.SetHook(nullptr);
  EXPECT_THAT(Contents(*home.store.GetReocrdList()), ElementsAre("123"));
}

TEST(MergeNotice, LetsAClientSaveAndRemoveFromInside) {
  NoticeHome home;
  const long first = home.SaveIt(MakePart(u"1", 1, 3));
  const long second = home.SaveIt(MakePart(u"2", 2, 3));
  home.client.SetHook([&](const std::string& line) {
    if (line == Notice(first)) {
      EXPECT_EQ(0, home.store.RemoveRecord(second));
      home.SaveIt(MakePart(u"3 again", 3, 3));
    }
  });
  home.SaveIt(MakePart(u"3", 3, 3));
  home.client.SetHook(nullptr);
  EXPECT_THAT(home.Notices(), ElementsAre(Notice(first))) << "a part that is gone is not announced";
  EXPECT_THAT(Contents(*home.store.GetReocrdList()), ElementsAre("123", "3 again"));
}

}  // namespace
