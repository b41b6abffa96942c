// The fourteen digits of a record's time, read by position.
#pragma once

#include "VelkTypes.h"

#include <ctime>

/// Fields as they stand in the text, unchecked.
struct MsgTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;

  /// Year from 1900, month 1 to 12, day 1 to 31; nothing else is looked at.
  bool IsDateValid() const;
  /// Local time in seconds.
  std::time_t Seconds() const;
};

/// @return false: null, or shorter than fourteen units; the time is left alone.
bool ReadMsgTime(const VELK_wchar_t* pszTime, MsgTime& time);
