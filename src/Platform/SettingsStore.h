// The settings of the process: what the file says, and what was said for this process only.
#pragma once

#include "SettingsFile.h"
#include "VelkTypes.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

/// Threads: any. Not to be unwound by cancellation: the callers see to that.
class CSettingsStore {
public:
  /// Lives as long as the process: threads may outlive static objects.
  static CSettingsStore& Instance();

  /// Calls fnUse with the value in force, empty when there is none. Under the lock: fnUse only copies.
  template <class Use>
  void Read(std::u16string_view module, std::u16string_view item, const Use& fnUse) {
    const std::lock_guard<std::mutex> guard(m_lock);
    const VELK_wstring* const pstrValue = FindLocked(module, item);
    fnUse(pstrValue == nullptr ? std::u16string_view() : std::u16string_view(*pstrValue));
  }
  bool Write(std::u16string_view module, std::u16string_view item, std::u16string_view value);
  /// @param pszValue  null: the file counts again.
  void Override(std::u16string_view module, std::u16string_view item, const VELK_wchar_t* pszValue);
  std::string Check(bool bMustExist);

private:
  typedef std::unordered_map<VELK_wstring, VELK_wstring> Values;  // by module and item, see SetKeyLocked

  const VELK_wstring* FindLocked(std::u16string_view module, std::u16string_view item);
  void SetKeyLocked(std::u16string_view module, std::u16string_view item);
  void FollowPathsLocked();
  void FollowFileLocked();
  void ParseLocked();

  std::mutex m_lock;
  // guarded by m_lock
  unsigned int m_uPathsGeneration = 0;
  std::unique_ptr<CSettingsFile> m_pFile;
  Values m_fromFile;
  Values m_overrides;
  VELK_wstring m_strKey;  // of the present look-up; a member so that it keeps its memory
};
