// The greedy fill: part after part, each the longest stretch that fits.
#pragma once

#include "CharType.h"
#include "SmsPackSequence.h"

/// What DivideContent_Algorithm does, telling what it met on the way: one pass divides a text and classifies it.
/// @param pszSrcChar  not null, nSrcCharLen at least 1.
/// @param enMost      stops at a part of a costlier class: the parts so far are of no use then.
/// @return the costliest class met.
enCHAR_TYPE FillParts(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack, int iSingleBits,
                      int iPartBits, enCHAR_TYPE enMost);
