// UTF-8 and UTF-16, one character at a time.
#pragma once

#include "VelkTypes.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace utf {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstPair = 0x10000;  // from here on UTF-16 needs two units

struct Step {
  char32_t value;      // kReplacement when not valid
  std::size_t length;  // bytes or units taken, at least 1
  bool bValid;
};

/// The first character of a text that is not empty. Damaged input is taken in maximal subparts, each one replacement
/// character (The Unicode Standard, 3.9, U+FFFD substitution).
Step Utf8Step(std::string_view text);
/// Likewise; half a surrogate pair is not valid.
inline Step Utf16Step(std::u16string_view text) {
  const char16_t unit = text[0];
  if ((unit & 0xF800) != 0xD800) {
    return Step{unit, 1, true};
  }
  const bool bPair = (unit & 0x0400) == 0 && text.size() > 1 && (text[1] & 0xFC00) == 0xDC00;
  if (!bPair) {
    return Step{kReplacement, 1, false};
  }
  return Step{kFirstPair + ((unit & 0x3FFU) << 10) + (text[1] & 0x3FFU), 2, true};
}

/// Calls put(char16_t) once or twice.
template <class Put>
void PutUtf16(char32_t value, Put&& put) {
  if (value < kFirstPair) {
    put(static_cast<char16_t>(value));
    return;
  }
  put(static_cast<char16_t>(0xD800 + ((value - kFirstPair) >> 10)));
  put(static_cast<char16_t>(0xDC00 + (value & 0x3FF)));
}

/// Calls put(char) one to four times.
template <class Put>
void PutUtf8(char32_t value, Put&& put) {
  const auto byte = [&](char32_t bits) { put(static_cast<char>(static_cast<unsigned char>(bits))); };
  if (value < 0x80) {
    byte(value);
    return;
  }
  if (value < 0x800) {
    byte(0xC0 | (value >> 6));
  } else {
    if (value < kFirstPair) {
      byte(0xE0 | (value >> 12));
    } else {
      byte(0xF0 | (value >> 18));
      byte(0x80 | ((value >> 12) & 0x3F));
    }
    byte(0x80 | ((value >> 6) & 0x3F));
  }
  byte(0x80 | (value & 0x3F));
}

template <class Put>
void DecodeUtf8(std::string_view text, Put&& put) {
  while (!text.empty()) {
    const Step step = Utf8Step(text);
    PutUtf16(step.value, put);
    text.remove_prefix(step.length);
  }
}

template <class Put>
void EncodeUtf8(std::u16string_view text, Put&& put) {
  while (!text.empty()) {
    const Step step = Utf16Step(text);
    PutUtf8(step.value, put);
    text.remove_prefix(step.length);
  }
}

VELK_wstring ToUtf16(std::string_view text);
std::string ToUtf8(std::u16string_view text);

}  // namespace utf
