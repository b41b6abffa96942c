// SIM alpha identifiers with one 16-bit base (3GPP TS 51.011, Annex B, coding 0x82).
#pragma once

#include "VelkTypes.h"
#include "platform/PlatformExport.h"

class PLATFORM_API CEncode82 {
public:
  /// Whether the text fits: every unit is in the GSM default alphabet or within 128 characters from the base.
  /// @param wBase  out: the lowest character outside the GSM default alphabet; 0 without one.
  static bool is_encode82(const VELK_wchar_t* pszText, int iLength, WORD& wBase);
};
