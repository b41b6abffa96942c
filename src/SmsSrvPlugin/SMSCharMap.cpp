// Reading and applying the character map.
#include "SMSCharMap.h"

#include "CatchAll.h"

#include <sys/stat.h>
#include <cstdio>
#include <cstring>
#include <memory>

SMSCharMapEntry unicode_to_gsm_def_table[kCharMapSize];
std::int16_t g_TableItem = 0;

namespace {

const int kMatchable = 0x8000;             // units from here on never match
std::uint16_t g_replacements[kMatchable];  // by unit: replacement + 1 of its first entry, 0 without one

struct FileCloser {
  void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};
typedef std::unique_ptr<std::FILE, FileCloser> FilePtr;

/// Reads a file of any size through one small buffer.
class CMapReader {
public:
  explicit CMapReader(std::FILE* pFile) : m_pFile(pFile) {}

  /// @return false: there is none before the end.
  bool SkipPast(char ch) {
    while (HasMore()) {
      const void* pFound = std::memchr(m_pNext, ch, Left());
      if (pFound != nullptr) {
        m_pNext = static_cast<const char*>(pFound) + 1;
        return true;
      }
      m_pNext = m_pEnd;
    }
    return false;
  }

  /// What stands before chEnd, or before the end, without blanks. Beyond a length that no number has, the rest is
  /// dropped.
  template <std::size_t kSize>
  void ReadField(char chEnd, char (&szField)[kSize]) {
    std::size_t nLength = 0;
    while (HasMore() && *m_pNext != chEnd) {
      if (*m_pNext != ' ' && nLength + 1 < kSize) {
        szField[nLength++] = *m_pNext;
      }
      ++m_pNext;
    }
    szField[nLength] = '\0';
    m_pNext += HasMore() ? 1 : 0;
  }

private:
  std::size_t Left() const { return static_cast<std::size_t>(m_pEnd - m_pNext); }

  bool HasMore() {
    if (m_pNext == m_pEnd) {
      m_pNext = m_szBuffer;
      m_pEnd = m_szBuffer + std::fread(m_szBuffer, 1, sizeof m_szBuffer, m_pFile);
    }
    return m_pNext != m_pEnd;
  }

  std::FILE* const m_pFile;
  char m_szBuffer[16384];
  const char* m_pNext = m_szBuffer;
  const char* m_pEnd = m_szBuffer;
};

/// Fields that are no numbers leave the entry as it is: it counts all the same.
void ReadEntry(CMapReader& reader, SMSCharMapEntry& stEntry) {
  char szKey[256];
  char szValue[256];
  reader.ReadField(',', szKey);
  reader.ReadField('}', szValue);
  unsigned short usKey = static_cast<unsigned short>(stEntry.sUnicode);
  std::sscanf(szKey, "%hx", &usKey);
  std::sscanf(szValue, "%hhx", &stEntry.btGsm);
  stEntry.sUnicode = static_cast<std::int16_t>(usKey);
}

void IndexEntries() {
  for (int i = 0; i < g_TableItem; ++i) {
    const SMSCharMapEntry& stEntry = unicode_to_gsm_def_table[i];
    if (stEntry.sUnicode >= 0 && g_replacements[stEntry.sUnicode] == 0) {
      g_replacements[stEntry.sUnicode] = static_cast<std::uint16_t>(stEntry.btGsm + 1);
    }
  }
}

void LoadCharMap(const char* pszPath) {
  const CNoCancellation hold;  // the sending thread may be killed meanwhile; the map must not stay half loaded
  // a directory opens and reads as endless, a pipe opens when somebody writes to it, and some files of the system have
  // text but no size: only files with a size are maps
  struct stat stInfo;
  if (pszPath == nullptr || stat(pszPath, &stInfo) != 0 || !S_ISREG(stInfo.st_mode) || stInfo.st_size <= 0) {
    return;
  }
  const FilePtr file(std::fopen(pszPath, "rb"));
  if (file == nullptr) {
    return;
  }
  CMapReader reader(file.get());
  while (g_TableItem < kCharMapSize && reader.SkipPast('{')) {
    ReadEntry(reader, unicode_to_gsm_def_table[g_TableItem]);
    ++g_TableItem;
  }
  IndexEntries();
}

}  // namespace

CSMSCharMap::CSMSCharMap(const char* pszfilename) {
  static const bool bInit = (LoadCharMap(pszfilename), true);
  static_cast<void>(bInit);
}

void CSMSCharMap::non_gsm_to_gsm_def(VELK_wchar_t* pwstSrc, int nSrcLen) const {
  if (g_TableItem == 0 || pwstSrc == nullptr) {
    return;
  }
  for (int i = 0; i < nSrcLen; ++i) {
    const VELK_wchar_t ch = pwstSrc[i];
    if (ch < kMatchable && g_replacements[ch] != 0) {
      pwstSrc[i] = static_cast<VELK_wchar_t>(g_replacements[ch] - 1);
    }
  }
}
