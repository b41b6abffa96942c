// Phonebook codings: a text fits a base exactly when every unit, looked at alone, does.
#include "Property.h"
#include "platform/Encode81.h"
#include "platform/Encode82.h"
#include "platform/Gsm7bit.h"

#include <algorithm>

using namespace fuzz;

namespace {

const std::size_t kMaxLength = 255;
const int kHalfPage = 128;

bool InDefaultAlphabet(VELK_wchar_t unit) {
  const VELK_wchar_t* const table = arrayGSM_7DefaultAlphabet;
  return unit != 0xFFFF && std::find(table, table + 128, unit) != table + 128;
}

/// Whether each unit is in the default alphabet or one of the 128 from start on.
bool FitsFrom(const CBlock<VELK_wchar_t>& text, const VELK_wchar_t* units, int start) {
  return std::all_of(units, units + text.Size(), [start](VELK_wchar_t unit) {
    return InDefaultAlphabet(unit) || (unit >= start && unit < start + kHalfPage);
  });
}

}  // namespace

/// Input: the units of a text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CInput input(data, size);
  CBlock<VELK_wchar_t> text(std::min<std::size_t>(size / 2, kMaxLength + 2));
  int lowest = 0x10000;
  for (std::size_t i = 0; i < text.Size(); ++i) {
    const VELK_wchar_t unit = input.Word();
    text.Data()[i] = unit;
    if (!InDefaultAlphabet(unit)) lowest = std::min<int>(lowest, unit);
  }
  const bool plain = lowest == 0x10000;
  const bool counted = text.Size() <= kMaxLength;
  const int length = static_cast<int>(text.Size());
  BYTE base81 = 1;
  const bool fits81 = CEncode81::is_encode81(text.Data(), length, base81);
  const int halfPage = plain ? 0 : lowest / kHalfPage;
  Require(fits81 == (counted && halfPage <= 0xFF && FitsFrom(text, text.Data(), halfPage * kHalfPage)),
          "coding 81 takes one half page");
  Require(!fits81 || base81 == halfPage, "coding 81 names the half page");
  WORD base82 = 1;
  const bool surrogates = std::any_of(text.Data(), text.Data() + text.Size(), [](VELK_wchar_t unit) {
    return unit >= 0xD800 && unit < 0xE000;  // phones refuse a base among them
  });
  const bool fits82 = CEncode82::is_encode82(text.Data(), length, base82);
  Require(fits82 == (counted && !surrogates && FitsFrom(text, text.Data(), plain ? 0 : lowest)),
          "coding 82 takes 128 from the lowest");
  Require(!fits82 || base82 == (plain ? 0 : lowest), "coding 82 names the lowest");
  return 0;
}
