// The tables of 3GPP TS 23.038 and their reversal, both settled when the library is compiled.
#include "Gsm7bitTables.h"

namespace {

constexpr VELK_wchar_t kNone = 0xFFFF;  // unused position; no character of Unicode either

}  // namespace

constexpr VELK_wchar_t arrayGSM_7DefaultAlphabet[128] = {
    // 6.2.1
    0x0040, 0x00A3, 0x0024, 0x00A5, 0x00E8, 0x00E9, 0x00F9, 0x00EC,  // 0x00
    0x00F2, 0x00C7, 0x000A, 0x00D8, 0x00F8, 0x000D, 0x00C5, 0x00E5,  // 0x08
    0x0394, 0x005F, 0x03A6, 0x0393, 0x039B, 0x03A9, 0x03A0, 0x03A8,  // 0x10
    0x03A3, 0x0398, 0x039E, kNone,  0x00C6, 0x00E6, 0x00DF, 0x00C9,  // 0x18
    0x0020, 0x0021, 0x0022, 0x0023, 0x00A4, 0x0025, 0x0026, 0x0027,  // 0x20
    0x0028, 0x0029, 0x002A, 0x002B, 0x002C, 0x002D, 0x002E, 0x002F,  // 0x28
    0x0030, 0x0031, 0x0032, 0x0033, 0x0034, 0x0035, 0x0036, 0x0037,  // 0x30
    0x0038, 0x0039, 0x003A, 0x003B, 0x003C, 0x003D, 0x003E, 0x003F,  // 0x38
    0x00A1, 0x0041, 0x0042, 0x0043, 0x0044, 0x0045, 0x0046, 0x0047,  // 0x40
    0x0048, 0x0049, 0x004A, 0x004B, 0x004C, 0x004D, 0x004E, 0x004F,  // 0x48
    0x0050, 0x0051, 0x0052, 0x0053, 0x0054, 0x0055, 0x0056, 0x0057,  // 0x50
    0x0058, 0x0059, 0x005A, 0x00C4, 0x00D6, 0x00D1, 0x00DC, 0x00A7,  // 0x58
    0x00BF, 0x0061, 0x0062, 0x0063, 0x0064, 0x0065, 0x0066, 0x0067,  // 0x60
    0x0068, 0x0069, 0x006A, 0x006B, 0x006C, 0x006D, 0x006E, 0x006F,  // 0x68
    0x0070, 0x0071, 0x0072, 0x0073, 0x0074, 0x0075, 0x0076, 0x0077,  // 0x70
    0x0078, 0x0079, 0x007A, 0x00E4, 0x00F6, 0x00F1, 0x00FC, 0x00E0,  // 0x78
};

constexpr VELK_wchar_t arrayGSM_7ExtAlphabet[128] = {
    // 6.2.1.1
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x00
    kNone,  kNone,  0x000C, kNone, kNone,  kNone,  kNone,  kNone,   // 0x08
    kNone,  kNone,  kNone,  kNone, 0x005E, kNone,  kNone,  kNone,   // 0x10
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x18
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x20
    0x007B, 0x007D, kNone,  kNone, kNone,  kNone,  kNone,  0x005C,  // 0x28
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x30
    kNone,  kNone,  kNone,  kNone, 0x005B, 0x007E, 0x005D, kNone,   // 0x38
    0x007C, kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x40
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x48
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x50
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x58
    kNone,  kNone,  kNone,  kNone, kNone,  0x20AC, kNone,  kNone,   // 0x60
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x68
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x70
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x78
};

constexpr VELK_wchar_t arrayGSM_7TurkishTable[128] = {
    // A.3.1
    0x0040, 0x00A3, 0x0024, 0x00A5, 0x20AC, 0x00E9, 0x00F9, 0x0131,  // 0x00
    0x00F2, 0x00C7, 0x000A, 0x011E, 0x011F, 0x000D, 0x00C5, 0x00E5,  // 0x08
    0x0394, 0x005F, 0x03A6, 0x0393, 0x039B, 0x03A9, 0x03A0, 0x03A8,  // 0x10
    0x03A3, 0x0398, 0x039E, kNone,  0x015E, 0x015F, 0x00DF, 0x00C9,  // 0x18
    0x0020, 0x0021, 0x0022, 0x0023, 0x00A4, 0x0025, 0x0026, 0x0027,  // 0x20
    0x0028, 0x0029, 0x002A, 0x002B, 0x002C, 0x002D, 0x002E, 0x002F,  // 0x28
    0x0030, 0x0031, 0x0032, 0x0033, 0x0034, 0x0035, 0x0036, 0x0037,  // 0x30
    0x0038, 0x0039, 0x003A, 0x003B, 0x003C, 0x003D, 0x003E, 0x003F,  // 0x38
    0x0130, 0x0041, 0x0042, 0x0043, 0x0044, 0x0045, 0x0046, 0x0047,  // 0x40
    0x0048, 0x0049, 0x004A, 0x004B, 0x004C, 0x004D, 0x004E, 0x004F,  // 0x48
    0x0050, 0x0051, 0x0052, 0x0053, 0x0054, 0x0055, 0x0056, 0x0057,  // 0x50
    0x0058, 0x0059, 0x005A, 0x00C4, 0x00D6, 0x00D1, 0x00DC, 0x00A7,  // 0x58
    0x00E7, 0x0061, 0x0062, 0x0063, 0x0064, 0x0065, 0x0066, 0x0067,  // 0x60
    0x0068, 0x0069, 0x006A, 0x006B, 0x006C, 0x006D, 0x006E, 0x006F,  // 0x68
    0x0070, 0x0071, 0x0072, 0x0073, 0x0074, 0x0075, 0x0076, 0x0077,  // 0x70
    0x0078, 0x0079, 0x007A, 0x00E4, 0x00F6, 0x00F1, 0x00FC, 0x00E0,  // 0x78
};

constexpr VELK_wchar_t arrayGSM_7PortugueseTable[128] = {
    // A.3.3
    0x0040, 0x00A3, 0x0024, 0x00A5, 0x00EA, 0x00E9, 0x00FA, 0x00ED,  // 0x00
    0x00F3, 0x00E7, 0x000A, 0x00D4, 0x00F4, 0x000D, 0x00C1, 0x00E1,  // 0x08
    0x0394, 0x005F, 0x00AA, 0x00C7, 0x00C0, 0x221E, 0x005E, 0x005C,  // 0x10
    0x20AC, 0x00D3, 0x007C, kNone,  0x00C2, 0x00E2, 0x00CA, 0x00C9,  // 0x18
    0x0020, 0x0021, 0x0022, 0x0023, 0x00BA, 0x0025, 0x0026, 0x0027,  // 0x20
    0x0028, 0x0029, 0x002A, 0x002B, 0x002C, 0x002D, 0x002E, 0x002F,  // 0x28
    0x0030, 0x0031, 0x0032, 0x0033, 0x0034, 0x0035, 0x0036, 0x0037,  // 0x30
    0x0038, 0x0039, 0x003A, 0x003B, 0x003C, 0x003D, 0x003E, 0x003F,  // 0x38
    0x00CD, 0x0041, 0x0042, 0x0043, 0x0044, 0x0045, 0x0046, 0x0047,  // 0x40
    0x0048, 0x0049, 0x004A, 0x004B, 0x004C, 0x004D, 0x004E, 0x004F,  // 0x48
    0x0050, 0x0051, 0x0052, 0x0053, 0x0054, 0x0055, 0x0056, 0x0057,  // 0x50
    0x0058, 0x0059, 0x005A, 0x00C3, 0x00D5, 0x00DA, 0x00DC, 0x00A7,  // 0x58
    0x007E, 0x0061, 0x0062, 0x0063, 0x0064, 0x0065, 0x0066, 0x0067,  // 0x60
    0x0068, 0x0069, 0x006A, 0x006B, 0x006C, 0x006D, 0x006E, 0x006F,  // 0x68
    0x0070, 0x0071, 0x0072, 0x0073, 0x0074, 0x0075, 0x0076, 0x0077,  // 0x70
    0x0078, 0x0079, 0x007A, 0x00E3, 0x00F5, 0x0060, 0x00FC, 0x00E0,  // 0x78
};

constexpr VELK_wchar_t arrayGSM_7TurkishExtTable[128] = {
    // A.2.1
    kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x00
    kNone,  kNone,  0x000C, kNone,  kNone,  kNone,  kNone,  kNone,   // 0x08
    kNone,  kNone,  kNone,  kNone,  0x005E, kNone,  kNone,  kNone,   // 0x10
    kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x18
    kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x20
    0x007B, 0x007D, kNone,  kNone,  kNone,  kNone,  kNone,  0x005C,  // 0x28
    kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x30
    kNone,  kNone,  kNone,  kNone,  0x005B, 0x007E, 0x005D, kNone,   // 0x38
    0x007C, kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  0x011E,  // 0x40
    kNone,  0x0130, kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x48
    kNone,  kNone,  kNone,  0x015E, kNone,  kNone,  kNone,  kNone,   // 0x50
    kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x58
    kNone,  kNone,  kNone,  0x00E7, kNone,  0x20AC, kNone,  0x011F,  // 0x60
    kNone,  0x0131, kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x68
    kNone,  kNone,  kNone,  0x015F, kNone,  kNone,  kNone,  kNone,   // 0x70
    kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x78
};

constexpr VELK_wchar_t arrayGSM_7SpanishExtTable[128] = {
    // A.2.2
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x00
    kNone,  0x00E7, 0x000C, kNone, kNone,  kNone,  kNone,  kNone,   // 0x08
    kNone,  kNone,  kNone,  kNone, 0x005E, kNone,  kNone,  kNone,   // 0x10
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x18
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x20
    0x007B, 0x007D, kNone,  kNone, kNone,  kNone,  kNone,  0x005C,  // 0x28
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x30
    kNone,  kNone,  kNone,  kNone, 0x005B, 0x007E, 0x005D, kNone,   // 0x38
    0x007C, 0x00C1, kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x40
    kNone,  0x00CD, kNone,  kNone, kNone,  kNone,  kNone,  0x00D3,  // 0x48
    kNone,  kNone,  kNone,  kNone, kNone,  0x00DA, kNone,  kNone,   // 0x50
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x58
    kNone,  0x00E1, kNone,  kNone, kNone,  0x20AC, kNone,  kNone,   // 0x60
    kNone,  0x00ED, kNone,  kNone, kNone,  kNone,  kNone,  0x00F3,  // 0x68
    kNone,  kNone,  kNone,  kNone, kNone,  0x00FA, kNone,  kNone,   // 0x70
    kNone,  kNone,  kNone,  kNone, kNone,  kNone,  kNone,  kNone,   // 0x78
};

constexpr VELK_wchar_t arrayGSM_7PortugueseExtTable[128] = {
    // A.2.3
    kNone,  kNone,  kNone,  kNone,  kNone,  0x00EA, kNone,  kNone,   // 0x00
    kNone,  0x00E7, 0x000C, 0x00D4, 0x00F4, kNone,  0x00C1, 0x00E1,  // 0x08
    kNone,  kNone,  0x03A6, 0x0393, 0x005E, 0x03A9, 0x03A0, 0x03A8,  // 0x10
    0x03A3, 0x0398, kNone,  kNone,  kNone,  kNone,  kNone,  0x00CA,  // 0x18
    kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x20
    0x007B, 0x007D, kNone,  kNone,  kNone,  kNone,  kNone,  0x005C,  // 0x28
    kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x30
    kNone,  kNone,  kNone,  kNone,  0x005B, 0x007E, 0x005D, kNone,   // 0x38
    0x007C, 0x00C0, kNone,  kNone,  kNone,  kNone,  kNone,  kNone,   // 0x40
    kNone,  0x00CD, kNone,  kNone,  kNone,  kNone,  kNone,  0x00D3,  // 0x48
    kNone,  kNone,  kNone,  kNone,  kNone,  0x00DA, kNone,  kNone,   // 0x50
    kNone,  kNone,  kNone,  0x00C3, 0x00D5, kNone,  kNone,  kNone,   // 0x58
    kNone,  0x00C2, kNone,  kNone,  kNone,  0x20AC, kNone,  kNone,   // 0x60
    kNone,  0x00ED, kNone,  kNone,  kNone,  kNone,  kNone,  0x00F3,  // 0x68
    kNone,  kNone,  kNone,  kNone,  kNone,  0x00FA, kNone,  kNone,   // 0x70
    kNone,  kNone,  kNone,  0x00E3, 0x00F5, kNone,  kNone,  0x00E2,  // 0x78
};

namespace {

constexpr int kPageSize = 256;
constexpr int kPagesUsed = 6;  // the widest table has characters in five pages of Unicode; page 0 here is empty
constexpr BYTE kNoCode = 0xFF;

// Code of a character: the page of its upper octet, then its lower octet within.
struct Reverse {
  BYTE pageOf[kPageSize];
  BYTE codes[kPagesUsed][kPageSize];
};

constexpr Reverse MakeReverse(const VELK_wchar_t (&table)[128]) {
  Reverse reverse{};
  for (auto& page : reverse.codes) {
    for (BYTE& code : page) {
      code = kNoCode;
    }
  }
  BYTE pages = 1;
  for (BYTE code = 0; code < 128; ++code) {
    const VELK_wchar_t ch = table[code];
    if (ch == kNone) {
      continue;
    }
    BYTE& page = reverse.pageOf[ch >> 8];
    if (page == 0) {
      page = pages++;
    }
    BYTE& slot = reverse.codes[page][ch & 0xFF];
    if (slot == kNoCode) {
      slot = code;
    }
  }
  return reverse;
}

constexpr Reverse kDefault = MakeReverse(arrayGSM_7DefaultAlphabet);
constexpr Reverse kTurkish = MakeReverse(arrayGSM_7TurkishTable);
constexpr Reverse kPortuguese = MakeReverse(arrayGSM_7PortugueseTable);
constexpr Reverse kExt = MakeReverse(arrayGSM_7ExtAlphabet);
constexpr Reverse kTurkishExt = MakeReverse(arrayGSM_7TurkishExtTable);
constexpr Reverse kSpanishExt = MakeReverse(arrayGSM_7SpanishExtTable);
constexpr Reverse kPortugueseExt = MakeReverse(arrayGSM_7PortugueseExtTable);

// In the order of the language identifiers; Spanish has no locking table and takes the default one.
constexpr const VELK_wchar_t* kLockTables[] = {arrayGSM_7DefaultAlphabet, arrayGSM_7TurkishTable,
                                               arrayGSM_7DefaultAlphabet, arrayGSM_7PortugueseTable};
constexpr const VELK_wchar_t* kSingleTables[] = {arrayGSM_7ExtAlphabet, arrayGSM_7TurkishExtTable,
                                                 arrayGSM_7SpanishExtTable, arrayGSM_7PortugueseExtTable};
constexpr const Reverse* kLockReverses[] = {&kDefault, &kTurkish, &kDefault, &kPortuguese};
constexpr const Reverse* kSingleReverses[] = {&kExt, &kTurkishExt, &kSpanishExt, &kPortugueseExt};

int CodeIn(const Reverse& reverse, VELK_wchar_t ch) {
  const BYTE code = reverse.codes[reverse.pageOf[ch >> 8]][ch & 0xFF];
  return code == kNoCode ? -1 : code;
}

}  // namespace

int Gsm7LockIndex(SMS_NLI_LOCK enLock) {
  return enLock == SMS_NLI_Turk_Lock || enLock == SMS_NLI_Port_Lock ? enLock : 0;
}

int Gsm7SingleIndex(SMS_NLI_SIGNLE enSingle) {
  return enSingle >= SMS_NLI_Turk_Single && enSingle <= SMS_NLI_Port_Single ? enSingle : 0;
}

int Gsm7CodeOf(VELK_wchar_t ch, SMS_NLI_LOCK enLock) { return CodeIn(*kLockReverses[Gsm7LockIndex(enLock)], ch); }

int Gsm7ExtCodeOf(VELK_wchar_t ch, SMS_NLI_SIGNLE enSingle) {
  return CodeIn(*kSingleReverses[Gsm7SingleIndex(enSingle)], ch);
}

const VELK_wchar_t* Gsm7Table(SMS_NLI_LOCK enLock) { return kLockTables[Gsm7LockIndex(enLock)]; }

const VELK_wchar_t* Gsm7ExtTable(SMS_NLI_SIGNLE enSingle) { return kSingleTables[Gsm7SingleIndex(enSingle)]; }
