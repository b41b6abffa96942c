// Divides text where a message or a page is full; never inside a character.
#pragma once

#include "VelkTypes.h"

#include <cstddef>
#include <vector>

namespace modem_sim {

/// Whether the default alphabet and its extension have every character (3GPP TS 23.038, 6.2.1).
bool FitsGsm7(const VELK_wstring& text);

/// Each answers one empty piece for an empty text.
/// @param septets  a piece's most, at least 2; characters that the alphabet lacks count as one.
std::vector<VELK_wstring> Gsm7Pieces(const VELK_wstring& text, std::size_t septets);
/// @param units  a piece's most, at least 2.
std::vector<VELK_wstring> Ucs2Pieces(const VELK_wstring& text, std::size_t units);

/// From and to UTF-8; what is damaged becomes U+FFFD.
VELK_wstring FromUtf8(const std::string& text);
std::string ToUtf8(const VELK_wstring& text);

}  // namespace modem_sim
