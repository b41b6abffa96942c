// The GSM 7-bit alphabets of 3GPP TS 23.038.
#pragma once

#include "SMSDef.h"
#include "platform/PlatformExport.h"

// Code -> UTF-16 unit, 128 entries each. An unused position of an extension table holds 0xFFFF, the escape (0x1B) of
// the default and locking tables too: neither ever matches a character.
PLATFORM_API extern const VELK_wchar_t arrayGSM_7DefaultAlphabet[128];     // 6.2.1
PLATFORM_API extern const VELK_wchar_t arrayGSM_7ExtAlphabet[128];         // 6.2.1.1
PLATFORM_API extern const VELK_wchar_t arrayGSM_7TurkishTable[128];        // A.3.1, locking shift
PLATFORM_API extern const VELK_wchar_t arrayGSM_7PortugueseTable[128];     // A.3.3, locking shift
PLATFORM_API extern const VELK_wchar_t arrayGSM_7TurkishExtTable[128];     // A.2.1, single shift
PLATFORM_API extern const VELK_wchar_t arrayGSM_7SpanishExtTable[128];     // A.2.2, single shift
PLATFORM_API extern const VELK_wchar_t arrayGSM_7PortugueseExtTable[128];  // A.2.3, single shift

/// Membership in the alphabets in force: the default and extension tables, or, while m_bHaveCustomize, the tables that
/// m_stNLI_flag selects (a table of value 0 is the default one).
/// Threads: reading from any thread; change the two flags only while nobody divides or packs.
class PLATFORM_API CGsm7bit {
public:
  bool GSM_7DefaultAlphabet(VELK_wchar_t ch) const;
  bool GSM_7ExtAlphabet(VELK_wchar_t ch) const;

  static bool m_bHaveCustomize;
  static SMS_NLI m_stNLI_flag;
};

// For packing and unpacking, with the tables named rather than selected.

/// @return the septet of ch in the locking table (0 is the default alphabet), or -1.
PLATFORM_API int Gsm7CodeOf(VELK_wchar_t ch, SMS_NLI_LOCK enLock);
/// @return the septet that follows the escape for ch in the single-shift table (0 is the extension table), or -1.
PLATFORM_API int Gsm7ExtCodeOf(VELK_wchar_t ch, SMS_NLI_SIGNLE enSingle);
/// The tables themselves, 128 entries.
PLATFORM_API const VELK_wchar_t* Gsm7Table(SMS_NLI_LOCK enLock);
PLATFORM_API const VELK_wchar_t* Gsm7ExtTable(SMS_NLI_SIGNLE enSingle);

/// For callers that classify many characters: one look-up each instead of two calls into the library.
/// @return 65,536 entries, the index is the UTF-16 unit, for the alphabets in force at the call: 0 where
///         GSM_7DefaultAlphabet() holds, else 1 where GSM_7ExtAlphabet() holds, else 3 (never null). The table stays
///         valid and unchanged as long as the library is loaded; a change of m_bHaveCustomize or m_stNLI_flag yields
///         another one, so fetch it once a text, not once a process. Built at the first call of each choice (64 KiB),
///         without a lock after that.  [any-thread]
PLATFORM_API const BYTE* Gsm7ClassTable();
