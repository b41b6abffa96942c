// The text of a settings file: sections, keys and values, read line by line and changed in one line only.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Form:   "[section]", "key = value", comments from ";" or "#" at the start of a line, blank lines. A value runs to
/// the
///         end of its line; blanks around names and values do not count. Names differ by more than the case of ASCII
///         letters. Of several lines for one key the last one counts.
/// Text:   UTF-8, with or without a byte order mark, either kind of line end.
namespace settings_text {

struct Line {
  enum Kind { kNothing, kSection, kEntry, kUnknown };
  Kind enKind;
  std::string_view name;   // of the section or the key
  std::string_view value;  // of an entry
  std::size_t nNumber;     // counted from 1
  std::size_t nEnd;        // where the line ends, before its line break
  std::size_t nNext;       // where the next one begins
};

/// Walks through the lines of a text that must outlive it.
class CLines {
public:
  explicit CLines(std::string_view text);
  /// @return false: there is no further line.
  bool Next(Line& line);

private:
  const std::string_view m_text;
  std::size_t m_nAt;
  std::size_t m_nNumber = 0;
};

bool IsSameName(std::string_view first, std::string_view second);

/// Whether the text holds that value for that key.
bool Holds(std::string_view text, std::string_view section, std::string_view key, std::string_view value);

/// The text with the value in its place, everything else byte for byte as it was. Not every value can be written in
/// this form: see whether the result Holds() it.
std::string WithValue(const std::string& strText, std::string_view section, std::string_view key,
                      std::string_view value);

/// @return number of the first line that is none of the known forms or not UTF-8; 0: all are.
std::size_t FirstUnknownLine(std::string_view text);

}  // namespace settings_text
