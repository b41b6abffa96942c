// What a text costs.
#pragma once

#include "ISMSService.h"

namespace smsctl {

struct Cost {
  long parts = 0;           // 0: the text cannot be sent
  bool isUcs2 = false;      // 16-bit coding; otherwise GSM 7-bit
  long charactersLeft = 0;  // plain letters that still fit into the same number of parts
};

/// Asks the service, so that its character map and the carrier's rules count.
Cost Measure(ISMSService& service, const VELK_wstring& text);

/// "3 parts, UCS-2".
const char* EncodingName(const Cost& cost);

}  // namespace smsctl
