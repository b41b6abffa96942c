// The settings of the process.
#include "SettingsStore.h"

#include "PathsInForce.h"
#include "SettingsText.h"
#include "Utf.h"
#include "platform/PlatformPaths.h"

namespace {

void AppendFolded(VELK_wstring& strKey, std::u16string_view name) {
  for (const VELK_wchar_t ch : name) {
    strKey += ch >= u'A' && ch <= u'Z' ? static_cast<VELK_wchar_t>(ch - u'A' + u'a') : ch;
  }
}

}  // namespace

CSettingsStore& CSettingsStore::Instance() {
  static CSettingsStore* const pStore = new CSettingsStore;
  return *pStore;
}

bool CSettingsStore::Write(std::u16string_view module, std::u16string_view item, std::u16string_view value) {
  const std::lock_guard<std::mutex> guard(m_lock);
  FollowPathsLocked();
  const std::string strSection = utf::ToUtf8(module);
  const std::string strKey = utf::ToUtf8(item);
  const std::string strValue = utf::ToUtf8(value);
  if (utf::ToUtf16(strValue) != value) {
    return false;  // half a surrogate pair
  }
  const bool bWritten = m_pFile->Update([&](const std::string& strBefore, std::string& strAfter) {
    strAfter = settings_text::WithValue(strBefore, strSection, strKey, strValue);
    // what would not read back as given, such as a line break, is refused
    return settings_text::Holds(strAfter, strSection, strKey, strValue);
  });
  ParseLocked();
  return bWritten;
}

void CSettingsStore::Override(std::u16string_view module, std::u16string_view item, const VELK_wchar_t* pszValue) {
  const std::lock_guard<std::mutex> guard(m_lock);
  SetKeyLocked(module, item);
  if (pszValue == nullptr) {
    m_overrides.erase(m_strKey);
  } else {
    m_overrides[m_strKey] = pszValue;
  }
}

std::string CSettingsStore::Check(bool bMustExist) {
  const std::lock_guard<std::mutex> guard(m_lock);
  FollowPathsLocked();
  FollowFileLocked();
  const std::string strFile = "settings file " + m_pFile->Path();
  const std::string strOther = ", or name another one (SMS_CONFIG).";
  switch (m_pFile->GetState()) {
    case CSettingsFile::kMissing:
      return bMustExist ? strFile + " does not exist. Create it" + strOther : std::string();
    case CSettingsFile::kUnusable:
      return strFile + " " + m_pFile->Fault() + strOther;
    default:
      break;
  }
  const std::size_t nLine = settings_text::FirstUnknownLine(m_pFile->Text());
  if (nLine == 0) {
    return std::string();
  }
  return strFile + ", line " + std::to_string(nLine) +
         " is no \"[section]\", no \"key = value\" and no comment in UTF-8. Mend or remove that line" + strOther;
}

const VELK_wstring* CSettingsStore::FindLocked(std::u16string_view module, std::u16string_view item) {
  FollowPathsLocked();
  FollowFileLocked();
  SetKeyLocked(module, item);
  const auto itOverride = m_overrides.find(m_strKey);
  if (itOverride != m_overrides.end()) {
    return &itOverride->second;
  }
  const auto itValue = m_fromFile.find(m_strKey);
  return itValue == m_fromFile.end() ? nullptr : &itValue->second;
}

/// Module and item in lower case (ASCII only) with a zero between them.
void CSettingsStore::SetKeyLocked(std::u16string_view module, std::u16string_view item) {
  m_strKey.clear();
  AppendFolded(m_strKey, module);
  m_strKey += VELK_wchar_t{0};
  AppendFolded(m_strKey, item);
}

void CSettingsStore::FollowPathsLocked() {
  const unsigned int uGeneration = paths_in_force::Generation();
  if (m_pFile == nullptr || uGeneration != m_uPathsGeneration) {
    m_pFile = std::make_unique<CSettingsFile>(GetPlatformPaths().strSettingsFile);
    m_uPathsGeneration = uGeneration;
    m_fromFile.clear();
  }
}

void CSettingsStore::FollowFileLocked() {
  if (m_pFile->MayHaveChanged() && m_pFile->Read()) {
    ParseLocked();
  }
}

void CSettingsStore::ParseLocked() {
  m_fromFile.clear();
  std::string_view section;
  settings_text::Line line;
  for (settings_text::CLines lines(m_pFile->Text()); lines.Next(line);) {
    if (line.enKind == settings_text::Line::kSection) {
      section = line.name;
    } else if (line.enKind == settings_text::Line::kEntry) {
      SetKeyLocked(utf::ToUtf16(section), utf::ToUtf16(line.name));
      m_fromFile[m_strKey] = utf::ToUtf16(line.value);
    }
  }
}
