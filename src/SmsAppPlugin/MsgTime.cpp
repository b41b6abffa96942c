// Reading a record's time text.
#include "MsgTime.h"

#include "platform/JTime.h"
#include "platform/VelkString.h"

#include <algorithm>

namespace {

const std::size_t kTimeDigits = 14;

int ReadDigits(const VELK_wchar_t* pszTime, std::size_t uFrom, std::size_t uCount) {
  VELK_wchar_t szDigits[5] = {};
  std::copy_n(pszTime + uFrom, uCount, szDigits);
  return VELK_wtoi(szDigits);
}

}  // namespace

bool MsgTime::IsDateValid() const { return year >= 1900 && month >= 1 && month <= 12 && day >= 1 && day <= 31; }

std::time_t MsgTime::Seconds() const { return JTime(year, month, day, hour, minute, second, 0).toTime_t(); }

bool ReadMsgTime(const VELK_wchar_t* pszTime, MsgTime& time) {
  if (pszTime == nullptr || VELK_wcslen(pszTime) < kTimeDigits) {
    return false;
  }
  time.year = ReadDigits(pszTime, 0, 4);
  time.month = ReadDigits(pszTime, 4, 2);
  time.day = ReadDigits(pszTime, 6, 2);
  time.hour = ReadDigits(pszTime, 8, 2);
  time.minute = ReadDigits(pszTime, 10, 2);
  time.second = ReadDigits(pszTime, 12, 2);
  return true;
}
