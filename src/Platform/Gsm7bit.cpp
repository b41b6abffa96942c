// Membership in the GSM alphabets in force, one character at a time or for the whole of Unicode's first plane.
#include "platform/Gsm7bit.h"

#include "Gsm7bitTables.h"

#include <atomic>
#include <mutex>

namespace {

constexpr int kUnits = 0x10000;
constexpr int kLanguages = 4;
constexpr BYTE kInDefault = 0;
constexpr BYTE kInExtension = 1;
constexpr BYTE kInNeither = 3;

struct ClassTable {
  std::atomic<bool> bBuilt;
  BYTE classes[kUnits];
};

// Zero pages of the library until a selection is first used, so the other choices take no memory.
ClassTable g_classTables[kLanguages][kLanguages];
std::mutex g_buildLock;

SMS_NLI Selection() { return CGsm7bit::m_bHaveCustomize ? CGsm7bit::m_stNLI_flag : SMS_NLI(); }

BYTE ClassOf(VELK_wchar_t ch, const SMS_NLI& selection) {
  if (Gsm7CodeOf(ch, selection.enNLI_Lock) >= 0) {
    return kInDefault;
  }
  return Gsm7ExtCodeOf(ch, selection.enNLI_Single) >= 0 ? kInExtension : kInNeither;
}

void Build(ClassTable& table, const SMS_NLI& selection) {
  std::lock_guard<std::mutex> guard(g_buildLock);
  if (table.bBuilt.load(std::memory_order_relaxed)) {
    return;
  }
  for (int unit = 0; unit < kUnits; ++unit) {
    table.classes[unit] = ClassOf(static_cast<VELK_wchar_t>(unit), selection);
  }
  table.bBuilt.store(true, std::memory_order_release);
}

}  // namespace

bool CGsm7bit::m_bHaveCustomize = false;
SMS_NLI CGsm7bit::m_stNLI_flag;

bool CGsm7bit::GSM_7DefaultAlphabet(VELK_wchar_t ch) const { return Gsm7CodeOf(ch, Selection().enNLI_Lock) >= 0; }

bool CGsm7bit::GSM_7ExtAlphabet(VELK_wchar_t ch) const { return Gsm7ExtCodeOf(ch, Selection().enNLI_Single) >= 0; }

const BYTE* Gsm7ClassTable() {
  const SMS_NLI selection = Selection();
  ClassTable& table = g_classTables[Gsm7LockIndex(selection.enNLI_Lock)][Gsm7SingleIndex(selection.enNLI_Single)];
  if (!table.bBuilt.load(std::memory_order_acquire)) {
    Build(table, selection);
  }
  return table.classes;
}
