// One run of the send thread; private to the send path.
#pragma once

#include "SMSServiceImpl.h"

#include <vector>

struct CSMSServiceImpl::SendRun {
  VELK_wstring strKept;  // the content as the client gave it
  std::vector<SMS_PARAM> parts;
  std::vector<VELK_wstring> numbers;
  std::vector<bool> failed;  // by index of the number
  std::size_t number = 0;
  long lPartCounter = 0;  // parts moved past, over all numbers
  bool bCancelled = false;

  void FailNumber() { failed[number] = true; }
};
