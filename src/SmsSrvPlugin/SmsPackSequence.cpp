// The parts of one division, and writing them out.
#include "SmsPackSequence.h"

#include <algorithm>
#include <cstring>

void CSmsPackSequence::Append(const VELK_wchar_t* pwText, int iLength, int iDCS, SMS_STAT enStat) {
  const Stretch stStretch = {pwText, iLength, static_cast<char>(iDCS), static_cast<BYTE>(enStat)};
  if (m_iCount < kInPlace) {
    m_aFirst[m_iCount] = stStretch;
  } else {
    m_vctMore.push_back(stStretch);
  }
  ++m_iCount;
}

void CSmsPackSequence::Shrink(int iCount) {
  m_iCount = std::max(0, std::min(iCount, m_iCount));
  m_vctMore.resize(static_cast<std::size_t>(std::max(0, m_iCount - kInPlace)));
}

void CSmsPackSequence::SetConcatenated(BYTE btMR) {
  m_bLongSms = true;
  m_btMR = btMR;
}

SMS_PARAM CSmsPackSequence::At(int iIndex) const {
  SMS_PARAM stPack;
  Write(iIndex, stPack);
  return stPack;
}

void CSmsPackSequence::CopyTo(SMS_PARAM* pstSmsPack) const {
  for (int i = 0; i < m_iCount; ++i) {
    Write(i, pstSmsPack[i]);
  }
}

const CSmsPackSequence::Stretch& CSmsPackSequence::StretchAt(int iIndex) const {
  return iIndex < kInPlace ? m_aFirst[iIndex] : m_vctMore[static_cast<std::size_t>(iIndex - kInPlace)];
}

void CSmsPackSequence::Write(int iIndex, SMS_PARAM& stPack) const {
  const Stretch& stStretch = StretchAt(iIndex);
  std::memset(static_cast<void*>(&stPack), 0, sizeof stPack);
  std::memcpy(stPack.wszContent, stStretch.pwText, static_cast<std::size_t>(stStretch.iLength) * sizeof(VELK_wchar_t));
  stPack.iContentLen = stStretch.iLength;
  stPack.enSMSStat = static_cast<SMS_STAT>(stStretch.btStat);
  stPack.cDCS = stStretch.cDCS;
  stPack.stSMS_NLI = m_stNLI;
  stPack.stLongSMS_info.btMR = m_btMR;
  if (m_bLongSms) {
    stPack.bLongSms = true;
    stPack.stLongSMS_info.btTotalPack = static_cast<BYTE>(m_iCount);
    stPack.stLongSMS_info.btPack = static_cast<BYTE>(iIndex + 1);
  }
}

int HandOut(const CSmsPackSequence& vctSmsPack, SMS_PARAM* pstSmsPack, int nSmsPackBuffSize) {
  const int iCount = vctSmsPack.Count();
  if (iCount > nSmsPackBuffSize) {
    return nSmsPackBuffSize == 0 ? iCount : 0;
  }
  vctSmsPack.CopyTo(pstSmsPack);
  return iCount;
}
