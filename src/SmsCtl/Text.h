// Texts on the way between the terminal (UTF-8) and the service (UTF-16).
#pragma once

#include "VelkTypes.h"

#include <string>
#include <vector>

namespace smsctl {

VELK_wstring ToUtf16(const std::string& text);
std::string ToUtf8(const VELK_wstring& text);
bool IsUtf8(const std::string& text);
/// Null counts as empty.
std::string ToUtf8(const VELK_wchar_t* pszText);

/// For one line on a terminal: line breaks and control characters as blanks, at most `width` characters, then "...".
std::string OneLine(const std::string& text, std::size_t width);

/// For a terminal: line breaks stay, other control characters become blanks.
std::string Printable(const std::string& text);

/// The numbers of a list separated by "," or ";"; empty ones are left out.
std::vector<std::string> SplitNumbers(const std::string& list);

/// "1 part", "3 parts".
std::string Counted(long count, const std::string& noun);

}  // namespace smsctl
