// Settings and directories for callers with buffers of their own.
#include "platform/GlobalFunction.h"

#include "BoundedOut.h"
#include "NoCancel.h"
#include "SettingsStore.h"
#include "Utf.h"
#include "platform/PlatformPaths.h"

int CGlobalFunction::GetSetting(const VELK_wchar_t* pszModule, const VELK_wchar_t* pszItem, VELK_wchar_t* pszBuffer,
                                int iSize) {
  const CNoCancel noCancel;
  int iLength = 0;
  const auto copy = [&](std::u16string_view value) { iLength = CopyOut(value, pszBuffer, iSize); };
  if (pszModule == nullptr || pszItem == nullptr) {
    copy(std::u16string_view());
  } else {
    CSettingsStore::Instance().Read(pszModule, pszItem, copy);
  }
  return iLength;
}

int CGlobalFunction::SetSetting(const VELK_wchar_t* pszModule, const VELK_wchar_t* pszItem,
                                const VELK_wchar_t* pszValue) {
  if (pszModule == nullptr || pszItem == nullptr || pszValue == nullptr) {
    return -1;
  }
  const CNoCancel noCancel;
  return CSettingsStore::Instance().Write(pszModule, pszItem, pszValue) ? 0 : -1;
}

void CGlobalFunction::OverrideSetting(const VELK_wchar_t* pszModule, const VELK_wchar_t* pszItem,
                                      const VELK_wchar_t* pszValue) {
  if (pszModule != nullptr && pszItem != nullptr) {
    CSettingsStore::Instance().Override(pszModule, pszItem, pszValue);
  }
}

std::string CGlobalFunction::CheckSettings(bool bMustExist) {
  const CNoCancel noCancel;
  return CSettingsStore::Instance().Check(bMustExist);
}

int CGlobalFunction::GetUserDataDirectory(VELK_wchar_t* pszBuffer, int iSize) {
  return CopyOut(utf::ToUtf16(GetPlatformPaths().strUserDataDir), pszBuffer, iSize);
}

int CGlobalFunction::GetModuleDirectory(VELK_wchar_t* pszBuffer, int iSize) {
  std::string strFolder = GetPlatformPaths().strModuleDir;
  if (strFolder.back() != '/') {
    strFolder += '/';
  }
  return CopyOut(utf::ToUtf16(strFolder), pszBuffer, iSize);
}
