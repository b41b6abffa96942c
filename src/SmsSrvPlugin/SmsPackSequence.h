// The parts of one division, before they are written out.
#pragma once

#include "SMSDef.h"

#include <vector>

/// Purpose:   a growable sequence of parts that keeps each one as a stretch of the text; the 416 bytes of a part are
///            written once, where the caller wants them, or never when only the number is asked for.
/// Ownership: refers to the text, which must stay as it is meanwhile.
/// Threads:   one at a time.
class CSmsPackSequence {
public:
  CSmsPackSequence() : m_iCount(0), m_bLongSms(false), m_btMR(0) {}

  /// @param iLength  1..160 units, 0 for a part without text.
  /// @param enStat   SMS_STAT_SENT as in a fresh record, SMS_STAT_UNREAD as in one cleared to zero.
  void Append(const VELK_wchar_t* pwText, int iLength, int iDCS, SMS_STAT enStat = SMS_STAT_SENT);

  /// Drops all parts behind the first iCount.
  void Shrink(int iCount);

  // Of all parts.
  void SetNationalLanguage(const SMS_NLI& stNLI) { m_stNLI = stNLI; }
  void SetConcatenated(BYTE btMR);
  void SetIndependent() { m_bLongSms = false; }

  int Count() const { return m_iCount; }
  /// Part iIndex, counted from 0, in full.
  SMS_PARAM At(int iIndex) const;
  /// Writes all parts in order; every byte of each is defined.
  /// @param pstSmsPack  room for Count() parts.
  void CopyTo(SMS_PARAM* pstSmsPack) const;

private:
  struct Stretch {
    const VELK_wchar_t* pwText;
    int iLength;
    char cDCS;
    BYTE btStat;
  };

  const Stretch& StretchAt(int iIndex) const;
  void Write(int iIndex, SMS_PARAM& stPack) const;

  static const int kInPlace = 255;  // as many as can be concatenated; nothing is allocated for them
  Stretch m_aFirst[kInPlace];       // left as it comes: m_iCount says what is valid
  std::vector<Stretch> m_vctMore;
  int m_iCount;
  bool m_bLongSms;
  BYTE m_btMR;
  SMS_NLI m_stNLI;
};

/// What every division hands out: all parts when there is room for them, else nothing.
/// @return the number of parts; 0 when they are more than a room that is not 0. With room 0 nothing is written.
int HandOut(const CSmsPackSequence& vctSmsPack, SMS_PARAM* pstSmsPack, int nSmsPackBuffSize);
