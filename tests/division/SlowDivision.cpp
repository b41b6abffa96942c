// The second opinion.
#include "SlowDivision.h"

#include "platform/Gsm7bit.h"

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>

namespace slow {
namespace {

bool Holds(const VELK_wchar_t* table, VELK_wchar_t ch) { return std::find(table, table + 128, ch) != table + 128; }

const VELK_wchar_t* LockingTable() {
  if (CGsm7bit::m_bHaveCustomize && CGsm7bit::m_stNLI_flag.enNLI_Lock == SMS_NLI_Turk_Lock) {
    return arrayGSM_7TurkishTable;
  }
  if (CGsm7bit::m_bHaveCustomize && CGsm7bit::m_stNLI_flag.enNLI_Lock == SMS_NLI_Port_Lock) {
    return arrayGSM_7PortugueseTable;
  }
  return arrayGSM_7DefaultAlphabet;
}

const VELK_wchar_t* SingleShiftTable() {
  if (CGsm7bit::m_bHaveCustomize) {
    switch (CGsm7bit::m_stNLI_flag.enNLI_Single) {
      case SMS_NLI_Turk_Single:
        return arrayGSM_7TurkishExtTable;
      case SMS_NLI_Span_Single:
        return arrayGSM_7SpanishExtTable;
      case SMS_NLI_Port_Single:
        return arrayGSM_7PortugueseExtTable;
      case SMS_NLI_Single_Reverse:
        break;
    }
  }
  return arrayGSM_7ExtAlphabet;
}

/// Classes of a text from its start, one unit after the other.
struct Classifier {
  int type = 0;
  int extra = 0;
  bool sawExtension = false;

  void Add(VELK_wchar_t ch) {
    if (type == 3) {
      return;
    }
    type = ClassOf(ch);
    extra += type == 1 ? 1 : 0;
    sawExtension = sawExtension || type == 1;
  }
  int Bits(int count) const { return type == 3 ? 16 * count : 7 * (extra + count); }
  int Dcs() const { return type == 3 ? 8 : 0; }
};

/// A part cleared to zero, or a fresh one, which counts as sent.
SMS_PARAM Part(bool bFresh) {
  SMS_PARAM part;
  std::memset(static_cast<void*>(&part), 0, sizeof part);
  part.enSMSStat = bFresh ? SMS_STAT_SENT : SMS_STAT_UNREAD;
  return part;
}

SMS_PARAM TextPart(const VELK_wstring& strText, int iDcs, bool bFresh = true) {
  SMS_PARAM part = Part(bFresh);
  part.iContentLen = static_cast<int>(strText.size());
  part.cDCS = static_cast<char>(iDcs);
  std::copy(strText.begin(), strText.end(), part.wszContent);
  return part;
}

Parts Slices(const VELK_wstring& strText, std::size_t nWhole, std::size_t nSlice, int iDcs) {
  if (strText.size() <= nWhole) {
    return {TextPart(strText, iDcs)};
  }
  Parts parts;
  for (std::size_t i = 0; i < strText.size(); i += nSlice) {
    parts.push_back(TextPart(strText.substr(i, nSlice), iDcs));
  }
  return parts;
}

bool Join(Parts& parts, bool bConcatenate, BYTE& btReference) {
  if (parts.size() > 255) {
    return false;
  }
  if (bConcatenate && parts.size() > 1) {
    btReference = static_cast<BYTE>((btReference + 1) % 256);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      parts[i].bLongSms = true;
      parts[i].stLongSMS_info.btMR = btReference;
      parts[i].stLongSMS_info.btTotalPack = static_cast<BYTE>(parts.size());
      parts[i].stLongSMS_info.btPack = static_cast<BYTE>(i + 1);
    }
  }
  return true;
}

Classifier ClassifyWhole(const VELK_wstring& strText) {
  Classifier whole;
  for (const VELK_wchar_t ch : strText) {
    whole.Add(ch);
  }
  return whole;
}

Parts GsmParts(const VELK_wstring& strText, bool bConcatenate) {
  const Classifier whole = ClassifyWhole(strText);
  const int total = static_cast<int>(strText.size()) + whole.extra;
  if (whole.type == 3) {
    return Slices(strText, 70, 67, 8);
  }
  if (!whole.sawExtension || !CGsm7bit::m_bHaveCustomize) {
    return total > 160 ? Fill(strText, 1120, bConcatenate ? 1072 : 1120) : Parts{TextPart(strText, 0)};
  }
  Parts parts = total > 155 ? Fill(strText, 1088, bConcatenate ? 1048 : 1088) : Parts{TextPart(strText, 0)};
  for (SMS_PARAM& part : parts) {
    part.stSMS_NLI = CGsm7bit::m_stNLI_flag;
  }
  return parts;
}

/// A prefix of that width by printing it; of other widths only the bracket and zeros.
VELK_wstring CdmaPrefix(int width, int number, int total) {
  if (width > 9) {
    return u"[" + VELK_wstring(static_cast<std::size_t>(width - 1), u'\0');
  }
  const int digits = (width - 3) / 2;
  std::ostringstream text;
  text << std::setfill('0') << '[' << std::setw(digits) << number << '/' << std::setw(digits) << total << ']';
  const std::string prefix = text.str();
  return VELK_wstring(prefix.begin(), prefix.end());
}

}  // namespace

int ClassOf(VELK_wchar_t ch) {
  if (Holds(LockingTable(), ch) && ch != 0xFFFF) {
    return 0;
  }
  return Holds(SingleShiftTable(), ch) && ch != 0xFFFF ? 1 : 3;
}

Parts Fill(const VELK_wstring& strText, int iSingleBits, int iPartBits) {
  struct Row {
    int count;
    int dcs;
  };
  Parts parts;
  Row rows[2] = {{0, 0}, {0, 0}};
  std::size_t start = 0;
  int count = 0;
  Classifier classes;
  bool single = true, full = false, end = false, fresh = true;
  for (;;) {
    if (start + static_cast<std::size_t>(count) < strText.size()) {
      classes.Add(strText[start + static_cast<std::size_t>(count)]);
      ++count;
      const int bits = classes.Bits(count);
      if (bits <= iPartBits) {
        rows[0] = {count, classes.Dcs()};
        if (single) {
          rows[1] = rows[0];
        }
      } else if (single && bits <= iSingleBits) {
        rows[1] = {count, classes.Dcs()};
      } else {
        full = true;
        single = false;
      }
    } else {
      end = true;
    }
    if (!end && !full) {
      continue;
    }
    Row& row = rows[single ? 1 : 0];
    if (row.count == 0) {
      return parts;
    }
    parts.push_back(TextPart(strText.substr(start, static_cast<std::size_t>(row.count)), row.dcs, fresh));
    fresh = false;
    full = false;
    start += static_cast<std::size_t>(row.count);
    row.count = 0;
    count = 0;
    classes = Classifier();
  }
}

Parts DivideGsm(const VELK_wstring& strText, bool bConcatenate, BYTE& btReference) {
  if (strText.empty()) {
    return {};
  }
  Parts parts = GsmParts(strText, bConcatenate);
  return Join(parts, bConcatenate, btReference) ? parts : Parts();
}

Parts DivideZpv(const VELK_wstring& strText, bool bConcatenate, BYTE& btReference) {
  if (strText.empty()) {
    return {};
  }
  const Classifier whole = ClassifyWhole(strText);
  Parts parts;
  if (whole.type == 3 || whole.extra >= 65) {
    parts = Slices(strText, 45, 45, 12);
  } else if (static_cast<int>(strText.size()) + whole.extra < 103) {
    parts = {TextPart(strText, 0)};
  } else {
    parts = Fill(strText, 720, 720);
  }
  Join(parts, bConcatenate, btReference);
  return parts;
}

Parts DivideCdma(const VELK_wstring& strText, int iSingleMaxSize) {
  const VELK_wchar_t highest = strText.empty() ? VELK_wchar_t(0) : *std::max_element(strText.begin(), strText.end());
  const int dcs = highest > 0xFF ? 8 : highest > 0x7F ? 4 : 0;
  const long long sixteen = static_cast<long long>(iSingleMaxSize) * 7 / 16;
  const long long wanted = dcs == 0 ? iSingleMaxSize : dcs == 8 ? sixteen : 2 * sixteen;
  const int limit = static_cast<int>(std::min(160LL, std::max(0LL, wanted)));
  const int length = static_cast<int>(strText.size());
  if (length <= limit) {
    return {TextPart(strText, dcs)};
  }
  int most = 9;
  for (int width = 5; width < limit; width += 2) {
    const int room = limit - width;
    const int total = (length + room - 1) / room;
    if (total <= most) {
      Parts parts;
      for (int i = 0; i < total; ++i) {
        const VELK_wstring slice = strText.substr(static_cast<std::size_t>(i * room), static_cast<std::size_t>(room));
        parts.push_back(TextPart(CdmaPrefix(width, i + 1, total) + slice, dcs));
      }
      return parts;
    }
    most = std::min(most * 10 + 9, 99999999);
  }
  return {};
}

int PhonebookLength(const VELK_wstring& strText, bool bGsm, bool& bUnicode) {
  if (strText.empty()) {
    return 0;
  }
  int length = 0;
  bUnicode = false;
  for (const VELK_wchar_t ch : strText) {
    const int type = bGsm ? ClassOf(ch) : ch > 0xFF ? 3 : 0;
    bUnicode = bUnicode || type == 3;
    length += type == 1 ? 2 : 1;
  }
  return bUnicode ? static_cast<int>(strText.size()) : length;
}

}  // namespace slow
