#include "CharacterMapFile.h"

#include "MyGlobalFunc.h"
#include "SMSCharMap.h"

const char* CCharacterMapFile::PathLocked(const VELK_wstring& strModulePath) {
  if (!m_bRead) {
    m_bRead = true;
    const VELK_wstring name = MyGetSetting(u"customize", u"smscharmap");
    const std::string path = MyWideCharToMultiByte((strModulePath + u"config/" + name).c_str(), 0);
    if (!name.empty() && path.size() < sizeof m_szPath) {
      path.copy(m_szPath, sizeof m_szPath - 1);
    }
  }
  return m_szPath;
}

VELK_wstring CCharacterMapFile::Apply(const VELK_wstring& strText, const VELK_wstring& strModulePath) {
  const std::lock_guard<std::mutex> guard(m_lock);
  const char* const path = PathLocked(strModulePath);
  if (*path == '\0') {
    return strText;
  }
  VELK_wstring converted(strText);
  CSMSCharMap map(path);
  map.non_gsm_to_gsm_def(&converted[0], static_cast<int>(converted.size()));
  return converted;
}
