// Local dates and times.
#include "platform/JTime.h"

#include "ClockState.h"

#include <climits>
#include <cstdint>

namespace {

using platform_clock::FloorDivide;

constexpr std::int64_t kMsPerSecond = 1000;
constexpr int kMonthsPerYear = 12;
constexpr std::int64_t kDaysPerEra = 146097;  // 400 years
constexpr std::int64_t kYearsPerEra = 400;
constexpr std::int64_t kEpochInDays = 719468;  // 1970-01-01 counted from 0000-03-01
constexpr int kTmYearBase = 1900;

/// Days since 1970-01-01 in the Gregorian calendar. Years begin in March here, so that the leap day is their last;
/// months and days outside their range carry over.
std::int64_t DaysSinceEpoch(std::int64_t iYear, std::int64_t iMonth, std::int64_t iDay) {
  const std::int64_t iMonths = iMonth - 3;  // from March
  iYear += FloorDivide(iMonths, kMonthsPerYear);
  const std::int64_t iMonthOfYear = iMonths - FloorDivide(iMonths, kMonthsPerYear) * kMonthsPerYear;
  const std::int64_t iEra = FloorDivide(iYear, kYearsPerEra);
  const std::int64_t iYearOfEra = iYear - iEra * kYearsPerEra;
  const std::int64_t iDayOfYear = (153 * iMonthOfYear + 2) / 5 + iDay - 1;
  return iEra * kDaysPerEra + iYearOfEra * 365 + iYearOfEra / 4 - iYearOfEra / 100 + iDayOfYear - kEpochInDays;
}

}  // namespace

JTime::JTime(int iYear, int iMonth, int iDay, int iHour, int iMinute, int iSecond, int iMillisecond)
    : m_iYear(iYear),
      m_iMonth(iMonth),
      m_iDay(iDay),
      m_iHour(iHour),
      m_iMinute(iMinute),
      m_iSecond(iSecond),
      m_iMillisecond(iMillisecond) {}

std::time_t JTime::toTime_t() const {
  if (m_iYear < INT_MIN + kTmYearBase || m_iMonth == INT_MIN) {
    return -1;  // struct tm cannot hold it
  }
  std::tm fields = {};
  fields.tm_year = m_iYear - kTmYearBase;
  fields.tm_mon = m_iMonth - 1;
  fields.tm_mday = m_iDay;
  fields.tm_hour = m_iHour;
  fields.tm_min = m_iMinute;
  fields.tm_sec = m_iSecond;
  fields.tm_isdst = -1;
  return std::mktime(&fields);
}

long long JTime::toTimestamp() const {
  const std::int64_t iDays = DaysSinceEpoch(m_iYear, m_iMonth, m_iDay);
  return ((iDays * 24 + m_iHour) * 60 + m_iMinute) * 60 + m_iSecond;
}

JTime JTime::CurrentLocalDateTime() {
  const std::int64_t iMs = platform_clock::CalendarMs();
  const std::time_t tNow = static_cast<std::time_t>(FloorDivide(iMs, kMsPerSecond));
  tzset();  // localtime_r need not look whether the zone has changed
  std::tm fields = {};
  localtime_r(&tNow, &fields);
  return JTime(fields.tm_year + kTmYearBase, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min,
               fields.tm_sec, static_cast<int>(iMs - static_cast<std::int64_t>(tNow) * kMsPerSecond));
}
