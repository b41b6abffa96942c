// The character map. A process loads one map, so every case runs in a process of its own.
#include "DivisionSupport.h"
#include "SMSCharMap.h"
#include "TempHome.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Mapped {
  int iEntries = -1;
  VELK_wstring strText;
};

void WriteAll(int fd, const void* pData, std::size_t nBytes) {
  if (write(fd, pData, nBytes) != static_cast<ssize_t>(nBytes)) {
    _exit(1);
  }
}

/// Loads the maps in turn and applies the last object to the text, in a child process.
Mapped MapInOwnProcess(const std::vector<std::string>& vctPaths, VELK_wstring strText) {
  Mapped mapped;
  int aPipe[2];
  if (pipe(aPipe) != 0) {
    return mapped;
  }
  const pid_t pid = fork();
  if (pid == 0) {
    for (const std::string& strPath : vctPaths) {
      CSMSCharMap(strPath.c_str()).non_gsm_to_gsm_def(&strText[0], strPath == vctPaths.back() ? LengthOf(strText) : 0);
    }
    const int iEntries = g_TableItem;
    WriteAll(aPipe[1], &iEntries, sizeof iEntries);
    WriteAll(aPipe[1], strText.data(), strText.size() * sizeof(VELK_wchar_t));
    _exit(0);
  }
  close(aPipe[1]);
  const std::size_t nBytes = strText.size() * sizeof(VELK_wchar_t);
  mapped.strText.resize(strText.size());
  if (read(aPipe[0], &mapped.iEntries, sizeof mapped.iEntries) != static_cast<ssize_t>(sizeof mapped.iEntries) ||
      read(aPipe[0], &mapped.strText[0], nBytes) != static_cast<ssize_t>(nBytes)) {
    mapped.iEntries = -1;
  }
  close(aPipe[0]);
  int iStatus = -1;
  waitpid(pid, &iStatus, 0);
  EXPECT_EQ(0, iStatus) << "the process that loaded the map died";
  return mapped;
}

class CharMap : public testing::Test {
protected:
  Mapped Map(const std::string& strContent, const VELK_wstring& strText) {
    m_home.WriteFile("map.txt", strContent);
    return MapInOwnProcess({m_home.Path("map.txt")}, strText);
  }
  void ExpectEmpty(const std::string& strPath) {
    const Mapped mapped = MapInOwnProcess({strPath}, u"a\u20AC");
    EXPECT_EQ(0, mapped.iEntries);
    EXPECT_EQ(u"a\u20AC", mapped.strText);
  }
  CTempHome m_home;
};

TEST_F(CharMap, ReplacesTheCharactersOfItsEntries) {
  const Mapped mapped = Map("{ 20AC , 65 }{2019,27}", u"1\u20AC don\u2019t \u20AD");
  EXPECT_EQ(2, mapped.iEntries);
  EXPECT_EQ(u"1e don't \u20AD", mapped.strText);
}

TEST_F(CharMap, Loads128EntriesOfLongerFiles) {
  std::string strContent;
  for (int i = 0; i < 130; ++i) {
    char szEntry[16];
    std::snprintf(szEntry, sizeof szEntry, "{%x,%x}\n", 0x400 + i, 0x41);
    strContent += szEntry;
  }
  const Mapped mapped = Map(strContent, VELK_wstring({0x400, 0x400 + 127, 0x400 + 128, 0x400 + 129}));
  EXPECT_EQ(128, mapped.iEntries);
  EXPECT_EQ(VELK_wstring({0x41, 0x41, 0x400 + 128, 0x400 + 129}), mapped.strText);
}

TEST_F(CharMap, KeepsTheFirstMapOfTheProcess) {
  m_home.WriteFile("first.txt", "{20AC,65}");
  m_home.WriteFile("second.txt", "{20AC,66}{2019,27}");
  const Mapped mapped = MapInOwnProcess({m_home.Path("first.txt"), m_home.Path("second.txt")}, u"\u20AC\u2019");
  EXPECT_EQ(1, mapped.iEntries);
  EXPECT_EQ(u"e\u2019", mapped.strText);
}

TEST_F(CharMap, DoesNotTryAgainAfterAMissingFile) {
  m_home.WriteFile("second.txt", "{20AC,65}");
  const Mapped mapped = MapInOwnProcess({m_home.Path("missing.txt"), m_home.Path("second.txt")}, u"\u20AC");
  EXPECT_EQ(0, mapped.iEntries);
  EXPECT_EQ(u"\u20AC", mapped.strText);
}

TEST_F(CharMap, NeverReplacesACharacterFrom8000On) {
  const Mapped mapped = Map("{FF01,21}{8000,22}{7FFF,23}", u"\uFF01\u8000\u7FFF");
  EXPECT_EQ(3, mapped.iEntries);
  EXPECT_EQ(u"\uFF01\u8000#", mapped.strText);
}

TEST_F(CharMap, TakesTheFirstOfSeveralEntriesForOneCharacter) {
  EXPECT_EQ(u"e", Map("{20AC,65}{20AC,66}", u"\u20AC").strText);
}

TEST_F(CharMap, CanReplaceByZero) { EXPECT_EQ(VELK_wstring(1, u'\0'), Map("{20AC,0}", u"\u20AC").strText); }

TEST_F(CharMap, DoesNotReplaceAReplacementAgain) { EXPECT_EQ(u"a", Map("{20AC,61}{61,62}", u"\u20AC").strText); }

TEST_F(CharMap, IgnoresTextOutsideBraces) {
  EXPECT_EQ(u"e'", Map("# euro\n 20AC,66 } {20AC,65}, and\n{2019,27} the rest", u"\u20AC\u2019").strText);
}

TEST_F(CharMap, LeavesOutBlanksInsideANumber) { EXPECT_EQ(u"e", Map("{2 0A C,6 5 }", u"\u20AC").strText); }

TEST_F(CharMap, AcceptsAHexadecimalMarkAndTabs) {
  EXPECT_EQ(u"e'", Map("{0x20AC,0x65}{\t2019,\n27}", u"\u20AC\u2019").strText);
}

TEST_F(CharMap, CountsAnEntryThatIsNoNumber) {
  // "{}{20AC,zz}" is one entry: its key runs up to the comma
  const Mapped mapped = Map("{xyz,65}{}{20AC,zz}{2019,27}", u"\u20AC\u2019");
  EXPECT_EQ(3, mapped.iEntries);
  EXPECT_EQ(u"\u20AC'", mapped.strText);
}

TEST_F(CharMap, LeavesAFieldThatIsNoNumberAtZero) {
  EXPECT_EQ(u"e", Map("{xyz,65}", VELK_wstring(1, u'\0')).strText);
  EXPECT_EQ(VELK_wstring(1, u'\0'), Map("{20AC,xyz}", u"\u20AC").strText);
}

TEST_F(CharMap, TakesAnEntryWithoutItsClosingBrace) {
  const Mapped mapped = Map("{20AC,65", u"\u20AC");
  EXPECT_EQ(1, mapped.iEntries);
  EXPECT_EQ(u"e", mapped.strText);
}

TEST_F(CharMap, CountsALoneOpeningBrace) {
  const Mapped mapped = Map("{", u"\u20AC");
  EXPECT_EQ(1, mapped.iEntries);
  EXPECT_EQ(u"\u20AC", mapped.strText);
}

TEST_F(CharMap, ReadsEntriesAcrossItsReadingBuffer) {
  for (const std::size_t nBefore : {16384u - 1, 16384u - 3, 16384u - 7, 16384u, 40000u}) {
    EXPECT_EQ(u"e", Map(std::string(nBefore, '#') + "{20AC,65}", u"\u20AC").strText) << nBefore;
  }
}

TEST_F(CharMap, SurvivesGarbage) {
  std::string strContent;
  unsigned int uSeed = 1;
  for (int i = 0; i < 100000; ++i) {
    uSeed = uSeed * 1103515245u + 12345u;
    strContent += static_cast<char>(uSeed >> 16);
  }
  strContent += std::string(5000, '{') + std::string(5000, ',');
  const Mapped mapped = Map(strContent, u"a\u20AC");
  EXPECT_GE(mapped.iEntries, 0);
  EXPECT_LE(mapped.iEntries, 128);
}

TEST_F(CharMap, SurvivesAnEndlessField) {
  EXPECT_EQ(u"\u20AC", Map("{" + std::string(1000000, 'F') + "," + std::string(1000000, '6'), u"\u20AC").strText);
}

TEST_F(CharMap, IsEmptyWithoutAFile) { ExpectEmpty(m_home.Path("missing.txt")); }

TEST_F(CharMap, IsEmptyForAnEmptyFile) {
  m_home.WriteFile("empty.txt", "");
  ExpectEmpty(m_home.Path("empty.txt"));
}

TEST_F(CharMap, IsEmptyForADirectory) { ExpectEmpty(m_home.Path()); }

TEST_F(CharMap, IsEmptyForAPipeNobodyWritesTo) {
  const std::string strPipe = m_home.Path("pipe");
  ASSERT_EQ(0, mkfifo(strPipe.c_str(), 0600));
  ExpectEmpty(strPipe);
}

TEST_F(CharMap, IsEmptyForASystemFileWithTextButWithoutASize) {
  ASSERT_EQ(0, prctl(PR_SET_NAME, "{20AC,65}"));  // what this file then says
  ExpectEmpty("/proc/thread-self/comm");
}

TEST_F(CharMap, IsEmptyForAnEndlessDevice) { ExpectEmpty("/dev/zero"); }

TEST_F(CharMap, IsEmptyForAnEmptyPath) { ExpectEmpty(""); }

TEST_F(CharMap, ReadsAHugeFileWithoutHoldingIt) {
  m_home.WriteFile("huge.txt", "{20AC,65}");
  ASSERT_EQ(0, truncate(m_home.Path("huge.txt").c_str(), 2147483648LL));
  const Mapped mapped = MapInOwnProcess({m_home.Path("huge.txt")}, u"\u20AC");
  EXPECT_EQ(1, mapped.iEntries);
  EXPECT_EQ(u"e", mapped.strText);
}

TEST_F(CharMap, LeavesNullAndEmptyTextAlone) {
  m_home.WriteFile("map.txt", "{20AC,65}");
  const pid_t pid = fork();
  if (pid == 0) {
    const CSMSCharMap map(m_home.Path("map.txt").c_str());
    VELK_wchar_t szText[] = u"\u20AC";
    map.non_gsm_to_gsm_def(nullptr, 5);
    map.non_gsm_to_gsm_def(szText, 0);
    map.non_gsm_to_gsm_def(szText, -1);
    const bool bUntouched = szText[0] == u'\u20AC';
    map.non_gsm_to_gsm_def(szText, 1);
    _exit(bUntouched && szText[0] == u'e' ? 0 : 1);
  }
  int iStatus = -1;
  waitpid(pid, &iStatus, 0);
  EXPECT_EQ(0, iStatus);
}

TEST_F(CharMap, IsEmptyForNoPath) {
  const pid_t pid = fork();
  if (pid == 0) {
    const CSMSCharMap map(nullptr);
    _exit(g_TableItem == 0 ? 0 : 1);
  }
  int iStatus = -1;
  waitpid(pid, &iStatus, 0);
  EXPECT_EQ(0, iStatus);
}

// The one case that loads in the test's own process: nothing else here may.
TEST_F(CharMap, IsWholeForEveryThreadThatUsesItFirst) {
  m_home.WriteFile("map.txt", "{20AC,65}" + std::string(200000, '#') + "{2019,27}");
  const std::string strPath = m_home.Path("map.txt");
  std::atomic<int> iWhole{0};
  std::atomic<bool> bGo{false};
  std::vector<std::thread> vctThreads;
  for (int i = 0; i < 8; ++i) {
    vctThreads.emplace_back([&] {
      while (!bGo) {
        std::this_thread::yield();
      }
      VELK_wchar_t szText[] = u"\u20AC\u2019";
      CSMSCharMap(strPath.c_str()).non_gsm_to_gsm_def(szText, 2);
      iWhole += VELK_wstring(szText) == u"e'" ? 1 : 0;
    });
  }
  bGo = true;
  for (std::thread& thread : vctThreads) {
    thread.join();
  }
  EXPECT_EQ(8, iWhole);
}

}  // namespace
