// A local date and time.
#pragma once

#include "platform/PlatformExport.h"

#include <ctime>

/// A plain value. Fields are kept as given, unchecked.
class PLATFORM_API JTime {
public:
  JTime(int iYear, int iMonth, int iDay, int iHour, int iMinute, int iSecond, int iMillisecond);

  /// Seconds since 1970-01-01 00:00:00 UTC of this local time (mktime rules, daylight saving decided by the system).
  std::time_t toTime_t() const;
  /// Seconds since 1970-01-01 00:00:00 of the same calendar: no zone, no daylight saving; for differences in days.
  long long toTimestamp() const;

  /// The present local time; JClock decides what the present is.
  static JTime CurrentLocalDateTime();

  int year() const { return m_iYear; }
  int month() const { return m_iMonth; }
  int day() const { return m_iDay; }
  int hour() const { return m_iHour; }
  int minute() const { return m_iMinute; }
  int second() const { return m_iSecond; }
  int millisecond() const { return m_iMillisecond; }

private:
  int m_iYear, m_iMonth, m_iDay, m_iHour, m_iMinute, m_iSecond, m_iMillisecond;
};
