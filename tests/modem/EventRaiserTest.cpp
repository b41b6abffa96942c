// Order, thread and barrier of the events.
#include "EventRaiser.h"

#include "Await.h"
#include "VelkTypes.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

namespace {

using modem::CEventRaiser;
typedef CEventRaiser::Source Source;

const unsigned long kEvent = 1000;

/// Counts its calls and does what a test wants inside of them.
class CSink final : public IUniCommEvent {
public:
  explicit CSink(const std::function<bool(unsigned long)>& body = [](unsigned long) { return true; }) : m_body(body) {}
  bool OnUniCommEvent(unsigned long dwEvent, void* /*pData*/) override {
    m_monitor.Locked([&] {
      m_events.push_back(dwEvent);
      m_thread = std::this_thread::get_id();
    });
    return m_body(dwEvent);
  }
  bool Await(std::size_t count) const {
    return m_monitor.Await([&] { return m_events.size() >= count; });
  }
  std::vector<unsigned long> Events() const {
    return m_monitor.Peek([this] { return m_events; });
  }
  std::thread::id Thread() const {
    return m_monitor.Peek([this] { return m_thread; });
  }

private:
  const std::function<bool(unsigned long)> m_body;
  CMonitor m_monitor;
  std::vector<unsigned long> m_events;
  std::thread::id m_thread;
};

TEST(EventRaiser, RaisesInOrderOnAThreadOfItsOwn) {
  CEventRaiser raiser;
  CSink sink;
  ASSERT_TRUE(raiser.Begin());
  ASSERT_TRUE(raiser.AddSink(Source::kMessages, &sink));
  std::vector<unsigned long> expected;
  for (unsigned long event = 0; event < 500; ++event) {
    raiser.Raise(Source::kMessages, event);
    expected.push_back(event);
  }
  raiser.End();
  EXPECT_EQ(expected, sink.Events());
  EXPECT_NE(std::this_thread::get_id(), sink.Thread());
}

TEST(EventRaiser, KeepsTheSourcesApart) {
  CEventRaiser raiser;
  CSink messages;
  CSink network;
  raiser.AddSink(Source::kMessages, &messages);
  raiser.AddSink(Source::kNetwork, &network);
  ASSERT_TRUE(raiser.Begin());
  raiser.Raise(Source::kMessages, 1);
  raiser.Raise(Source::kNetwork, 2);
  raiser.End();
  EXPECT_EQ((std::vector<unsigned long>{1}), messages.Events());
  EXPECT_EQ((std::vector<unsigned long>{2}), network.Events());
}

TEST(EventRaiser, CallsASinkThatWasAddedTwiceOnce) {
  CEventRaiser raiser;
  CSink sink;
  EXPECT_TRUE(raiser.AddSink(Source::kMessages, &sink));
  EXPECT_TRUE(raiser.AddSink(Source::kMessages, &sink));
  EXPECT_FALSE(raiser.AddSink(Source::kMessages, nullptr));
  ASSERT_TRUE(raiser.Begin());
  raiser.Raise(Source::kMessages, 1);
  raiser.End();
  EXPECT_EQ(1u, sink.Events().size());
  EXPECT_TRUE(raiser.RemoveSink(Source::kMessages, &sink));
  EXPECT_FALSE(raiser.RemoveSink(Source::kMessages, &sink));
  EXPECT_FALSE(raiser.RemoveSink(Source::kMessages, nullptr));
}

TEST(EventRaiser, TakesNothingBeforeItsBeginningOrAfterItsEnd) {
  CEventRaiser raiser;
  CSink sink;
  raiser.AddSink(Source::kMessages, &sink);
  ASSERT_TRUE(raiser.Begin());
  raiser.End();
  raiser.Raise(Source::kMessages, 1);
  raiser.End();
  ASSERT_TRUE(raiser.Begin());
  raiser.Raise(Source::kMessages, 2);
  raiser.End();
  EXPECT_EQ((std::vector<unsigned long>{2}), sink.Events());
}

TEST(EventRaiser, TellsAfterTheCallWhetherAnEventWasTaken) {
  CEventRaiser raiser;
  std::atomic<int> called{0};
  CSink refusing([&](unsigned long) { return false; });
  CSink taking([&](unsigned long event) { return ++called > 0 && event == 1; });
  raiser.AddSink(Source::kMessages, &refusing);
  raiser.AddSink(Source::kMessages, &taking);
  ASSERT_TRUE(raiser.Begin());
  std::vector<bool> taken;
  for (const unsigned long event : {1ul, 2ul}) {
    raiser.Raise(Source::kMessages, event, DWORD(0), [&taken, &called, event](bool bTaken) {
      EXPECT_EQ(static_cast<int>(event), called);
      taken.push_back(bTaken);
    });
  }
  raiser.Raise(Source::kNetwork, 3, DWORD(0), [&taken](bool bTaken) { taken.push_back(bTaken); });
  raiser.End();
  EXPECT_EQ((std::vector<bool>{true, false, false}), taken) << "nobody listens to the third";
}

TEST(EventRaiser, GoesOnAfterAnExceptionOfASink) {
  CEventRaiser raiser;
  CSink throwing([](unsigned long) -> bool { throw std::runtime_error("no"); });
  CSink other;
  raiser.AddSink(Source::kMessages, &throwing);
  raiser.AddSink(Source::kMessages, &other);
  ASSERT_TRUE(raiser.Begin());
  raiser.Raise(Source::kMessages, 1);
  raiser.Raise(Source::kMessages, 2, DWORD(0), [](bool) { throw std::runtime_error("no"); });
  raiser.Raise(Source::kMessages, 3);
  raiser.End();
  EXPECT_EQ((std::vector<unsigned long>{1, 2, 3}), other.Events());
  EXPECT_EQ((std::vector<unsigned long>{1, 2, 3}), throwing.Events());
}

TEST(EventRaiser, CallsNoSinkThatTheOneBeforeHasRemoved) {
  CEventRaiser raiser;
  CSink second;
  CSink first([&](unsigned long) { return raiser.RemoveSink(Source::kMessages, &second); });
  raiser.AddSink(Source::kMessages, &first);
  raiser.AddSink(Source::kMessages, &second);
  ASSERT_TRUE(raiser.Begin());
  raiser.Raise(Source::kMessages, 1);
  raiser.End();
  EXPECT_TRUE(second.Events().empty());
}

TEST(EventRaiser, LetsASinkRemoveItselfDuringItsCall) {
  CEventRaiser raiser;
  std::unique_ptr<CSink> sink;
  sink = std::make_unique<CSink>([&](unsigned long) { return raiser.RemoveSink(Source::kMessages, sink.get()); });
  raiser.AddSink(Source::kMessages, sink.get());
  ASSERT_TRUE(raiser.Begin());
  raiser.Raise(Source::kMessages, 1);
  raiser.Raise(Source::kMessages, 2);
  raiser.End();
  EXPECT_EQ(1u, sink->Events().size());
}

TEST(EventRaiser, LeavesNoCallUnderWayWhenASinkIsRemoved) {
  CEventRaiser raiser;
  ASSERT_TRUE(raiser.Begin());
  std::atomic<bool> end{false};
  std::thread raising([&] {
    while (!end) {
      raiser.Raise(Source::kMessages, kEvent);
      std::this_thread::yield();
    }
  });
  for (int round = 0; round < 200; ++round) {
    const auto inside = std::make_unique<int>(0);  // the sanitizers see a call that outlives the removal
    CSink sink([&inside](unsigned long) { return ++*inside > 0; });
    raiser.AddSink(Source::kMessages, &sink);
    EXPECT_TRUE(sink.Await(1));
    EXPECT_TRUE(raiser.RemoveSink(Source::kMessages, &sink));
    EXPECT_EQ(sink.Events().size(), static_cast<std::size_t>(*inside));
  }
  end = true;
  raising.join();
  raiser.End();
}

}  // namespace
