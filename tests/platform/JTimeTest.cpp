// Clocks and local time.
#include "platform/JTime.h"

#include "platform/JClock.h"

#include <gtest/gtest.h>
#include <climits>
#include <cstdlib>
#include <ctime>

namespace {

const long long kDay = 86400;

/// The zone of a test, whatever the machine's is. Central European rules, written out.
class CZone {
public:
  explicit CZone(const char* pszZone) {
    setenv("TZ", pszZone, 1);
    tzset();
  }
  ~CZone() {
    unsetenv("TZ");
    tzset();
  }
};
const char* const kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

bool IsLeap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysOfMonth(int year, int month) {
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeap(year) ? 29 : kDays[month - 1];
}

TEST(JTime, CountsTheDaysOfTheCalendar) {
  long long days = 0;
  for (int year = 1600; year < 1970; ++year) {
    days -= IsLeap(year) ? 366 : 365;
  }
  for (int year = 1600; year <= 2401; ++year) {
    for (int month = 1; month <= 12; ++month) {
      for (int day = 1; day <= DaysOfMonth(year, month); ++day, ++days) {
        ASSERT_EQ(days * kDay, JTime(year, month, day, 0, 0, 0, 0).toTimestamp()) << year << "-" << month << "-" << day;
      }
    }
  }
}

TEST(JTime, TimestampKnowsNoZone) {
  const CZone zone(kCentralEurope);
  EXPECT_EQ(0, JTime(1970, 1, 1, 0, 0, 0, 999).toTimestamp());
  EXPECT_EQ(13 * 3600 + 14 * 60 + 15, JTime(1970, 1, 1, 13, 14, 15, 0).toTimestamp());
  // both days on which the clocks change have 24 hours in it
  EXPECT_EQ(kDay, JTime(2024, 4, 1, 0, 0, 0, 0).toTimestamp() - JTime(2024, 3, 31, 0, 0, 0, 0).toTimestamp());
  EXPECT_EQ(kDay, JTime(2024, 10, 28, 0, 0, 0, 0).toTimestamp() - JTime(2024, 10, 27, 0, 0, 0, 0).toTimestamp());
}

TEST(JTime, TimeFollowsTheLocalZone) {
  const CZone zone(kCentralEurope);
  EXPECT_EQ(1705320000, JTime(2024, 1, 15, 13, 0, 0, 0).toTime_t());  // 12:00 UTC
  EXPECT_EQ(1721044800, JTime(2024, 7, 15, 14, 0, 0, 0).toTime_t());  // 12:00 UTC, summer
  EXPECT_EQ(23 * 3600, JTime(2024, 4, 1, 0, 0, 0, 0).toTime_t() - JTime(2024, 3, 31, 0, 0, 0, 0).toTime_t());
}

TEST(JTime, TimeCarriesFieldsBeyondTheirRange) {
  const CZone zone("UTC0");
  EXPECT_EQ(JTime(2025, 1, 1, 0, 0, 0, 0).toTime_t(), JTime(2024, 12, 31, 24, 0, 0, 0).toTime_t());
  EXPECT_EQ(JTime(2025, 2, 1, 0, 0, 0, 0).toTime_t(), JTime(2024, 14, 1, 0, 0, 0, 0).toTime_t());
  EXPECT_EQ(JTime(2025, 2, 1, 0, 0, 0, 0).toTimestamp(), JTime(2024, 14, 1, 0, 0, 0, 0).toTimestamp());
  EXPECT_EQ(JTime(2023, 12, 31, 0, 0, 0, 0).toTimestamp(), JTime(2024, 1, 0, 0, 0, 0, 0).toTimestamp());
}

TEST(JTime, KeepsFieldsAsGiven) {
  const JTime time(-1, 13, 99, 25, 61, 62, 1000);
  EXPECT_EQ(-1, time.year());
  EXPECT_EQ(13, time.month());
  EXPECT_EQ(99, time.day());
  EXPECT_EQ(25, time.hour());
  EXPECT_EQ(61, time.minute());
  EXPECT_EQ(62, time.second());
  EXPECT_EQ(1000, time.millisecond());
}

TEST(JTime, ExtremeFieldsDoNoHarm) {
  EXPECT_EQ(-1, JTime(INT_MIN, 1, 1, 0, 0, 0, 0).toTime_t());
  EXPECT_EQ(-1, JTime(2024, INT_MIN, 1, 0, 0, 0, 0).toTime_t());
  const JTime late(INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX);
  const JTime early(INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN);
  EXPECT_GT(late.toTimestamp(), 0);
  EXPECT_LT(early.toTimestamp(), 0);
}

TEST(JTime, PresentIsTheClockInTheLocalZone) {
  const CZone zone(kCentralEurope);
  JManualClock clock(1721044800);
  clock.Advance(1234);
  const JTime now = JTime::CurrentLocalDateTime();
  EXPECT_EQ(2024, now.year());
  EXPECT_EQ(7, now.month());
  EXPECT_EQ(15, now.day());
  EXPECT_EQ(14, now.hour());
  EXPECT_EQ(0, now.minute());
  EXPECT_EQ(1, now.second());
  EXPECT_EQ(234, now.millisecond());
  EXPECT_EQ(JClock::CalendarNow(), now.toTime_t());
}

TEST(JTime, NoticesAChangeOfTheZone) {
  JManualClock clock(1721044800);
  {
    const CZone zone("UTC0");
    EXPECT_EQ(12, JTime::CurrentLocalDateTime().hour());
  }
  setenv("TZ", "XYZ-5", 1);
  EXPECT_EQ(17, JTime::CurrentLocalDateTime().hour());
  unsetenv("TZ");
}

TEST(JClock, IsTheSystemsOtherwise) {
  const std::time_t before = std::time(nullptr);
  const std::time_t now = JClock::CalendarNow();
  EXPECT_GE(now, before - 1);
  EXPECT_LE(now, std::time(nullptr) + 1);
}

TEST(JClock, StandsStillUnderAManualClock) {
  JManualClock clock(1000);
  const std::int64_t start = JClock::MonotonicMs();
  EXPECT_EQ(1000, JClock::CalendarNow());
  clock.Advance(999);
  EXPECT_EQ(start + 999, JClock::MonotonicMs());
  EXPECT_EQ(1000, JClock::CalendarNow());
  clock.Advance(1);
  EXPECT_EQ(start + 1000, JClock::MonotonicMs());
  EXPECT_EQ(1001, JClock::CalendarNow());
}

TEST(JClock, MonotonicNeverGoesBack) {
  std::int64_t last = JClock::MonotonicMs();
  for (int i = 0; i < 3; ++i) {
    JManualClock clock(0);
    EXPECT_GE(JClock::MonotonicMs(), last);
    clock.Advance(-5000);  // the calendar may be set back, the other clock not
    EXPECT_GE(JClock::MonotonicMs(), last);
    EXPECT_EQ(-5, JClock::CalendarNow());
    clock.Advance(1000000);
    last = JClock::MonotonicMs();
  }
  EXPECT_GE(JClock::MonotonicMs(), last);
}

}  // namespace
