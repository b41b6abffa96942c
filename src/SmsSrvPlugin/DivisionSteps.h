// The steps of the divisions, each a function of its own.
#pragma once

#include "SmsPackSequence.h"

#include <atomic>

/// Reference of the latest concatenated message; the next one takes the value after it (3GPP TS 23.040, 9.2.3.24.1).
/// Counting the parts of a long text takes one as well.
extern std::atomic<unsigned char> btMR;

// --- GSM: sizes in bits of user data, 140 octets less the header -----------------------------------------------------

// All of them append to vctSmsPack, which refers to the text. False: empty text, or more than 255 parts.

/// Divides the text by what its characters need: national tables only for a text with extension characters, on purpose.
bool DivideContent(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack, bool bDivideLongSm);
/// Without national tables.
bool DivideContent_ZL(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack,
                      bool bDivideLongSm);
/// With a header for national tables in every part.
bool DivideContent_ZL_Ex(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack,
                         bool bDivideLongSm, const SMS_NLI& stNLI);
/// In parts of 90 octets; sets no concatenation.
void DivideContent_Customize(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack);
/// Fills part after part: each takes the longest stretch that fits, in its own coding. A text that fits
/// MAX_SINGLEPACK as a whole stays whole; otherwise every part, the first too, is cut at PER_PACKSIZE_MULTIPACK.
/// The first part counts as sent, like a fresh record, later ones as unread (cleared to zero), on purpose.
void DivideContent_Algorithm(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack,
                             int MAX_SINGLEPACK, int PER_PACKSIZE_MULTIPACK);
/// Consecutive stretches of iPackLen units in one coding; a text of at most iSingleLen units stays whole.
void DivideEvenly(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack, int iSingleLen,
                  int iPackLen, int iDCS);

void SetNationalLanguage7BitInfo(CSmsPackSequence& vctSmsPack, const SMS_NLI& stSMS_NLI);
/// Joins several parts to one concatenated message when bDivideLongSm.
/// @return false: more than 255 parts, nothing is changed.
bool LongSms(CSmsPackSequence& vctSmsPack, bool bDivideLongSm);

// --- CDMA: a visible prefix such as [2/5] instead of a header --------------------------------------------------------

/// Chooses the narrowest prefix that can count the parts: from nMinInterspace on in steps of 2, 5 for up to 9 parts.
/// @param nSingleMaxLen           units of one message, the prefix included.
/// @param nTotal                  out: number of parts
/// @param nPacks                  out: full ones among them
/// @param nRemain                 out: units of the last one beside those, 0 for none
/// @param nSingleSmContentMaxLen  out: units of text a full part holds
/// @return the width; 0: no width leaves room for text, the results are 0.
int MinInterspace(int nMinInterspace, int nSrcCharsLen, int nSingleMaxLen, int& nTotal, int& nPacks, int& nRemain,
                  int& nSingleSmContentMaxLen);
/// Writes the prefix but for the sequence number. Widths other than 5, 7 and 9 get the opening bracket only.
void InitCdmaSmInterspace(int nInterspace, int nTotal, VELK_wchar_t* pDst);
/// Writes the number nSequence + 1 into the prefix.
void CdmaSmSequenceNumber(int nInterspace, int nSequence, VELK_wchar_t* pDst);
