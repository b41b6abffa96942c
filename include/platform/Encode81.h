// SIM alpha identifiers with one 8-bit base (3GPP TS 51.011, Annex B, coding 0x81).
#pragma once

#include "VelkTypes.h"
#include "platform/PlatformExport.h"

class PLATFORM_API CEncode81 {
public:
  /// Whether the text fits: every unit is in the GSM default alphabet or in one half page of 128 characters that starts
  /// at base << 7.
  /// @param btBase  out: bits 15 to 8 of the half page's start, shifted left by one (bits 14 to 7); 0 without one.
  static bool is_encode81(const VELK_wchar_t* pszText, int iLength, BYTE& btBase);
};
