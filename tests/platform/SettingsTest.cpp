// The settings store.
#include "platform/GlobalFunction.h"

#include "TempHome.h"
#include "TestThread.h"
#include "platform/PlatformPaths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

VELK_wstring Get(const VELK_wchar_t* module, const VELK_wchar_t* item) {
  const int length = CGlobalFunction::GetSetting(module, item, nullptr, 0);
  VELK_wstring value(static_cast<std::size_t>(length) + 1, u'#');
  EXPECT_EQ(length, CGlobalFunction::GetSetting(module, item, &value[0], length + 1));
  EXPECT_EQ(0, value.back());
  value.pop_back();
  return value;
}

int Set(const VELK_wchar_t* module, const VELK_wchar_t* item, const VELK_wchar_t* value) {
  return CGlobalFunction::SetSetting(module, item, value);
}

unsigned int ModeOf(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
  return status.st_mode & 0777U;
}

class Settings : public testing::Test {
protected:
  std::string File() const { return home.ReadFile("settings.ini"); }
  std::size_t FilesInHome() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(home.Path()), fs::directory_iterator()));
  }
  void SetSettingsFile(const std::string& strFile) const {
    PlatformPaths paths = GetPlatformPaths();
    paths.strSettingsFile = strFile;
    SetPlatformPaths(paths);
  }
  const CTempHome home;
};

TEST_F(Settings, AbsentFileSectionAndKeyReadAsEmpty) {
  EXPECT_EQ(u"", Get(u"a", u"b"));
  home.WriteSettings("[a]\nother = 1\n");
  EXPECT_EQ(u"", Get(u"a", u"b"));
  EXPECT_EQ(u"", Get(u"x", u"other"));
  EXPECT_EQ(0, CGlobalFunction::GetSetting(nullptr, u"b", nullptr, 0));
  EXPECT_EQ(0, CGlobalFunction::GetSetting(u"a", nullptr, nullptr, 0));
}

TEST_F(Settings, ReadsTheForm) {
  home.WriteSettings(
      "\xEF\xBB\xBFtop = 0\n# comment = no\n; comment = no\n\n[ One ]\r\nplain=1\r\n  blanks\t =  two words \t\r\n"
      "equals = a=b=c\nsigns = \"x\" ; y # z\nempty =\n[two]\nplain = "
      "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n[last]\nend = 9");
  EXPECT_EQ(u"0", Get(u"", u"top"));
  EXPECT_EQ(u"", Get(u"", u"# comment"));
  EXPECT_EQ(u"1", Get(u"One", u"plain"));
  EXPECT_EQ(u"two words", Get(u"One", u"blanks"));
  EXPECT_EQ(u"a=b=c", Get(u"One", u"equals"));
  EXPECT_EQ(u"\"x\" ; y # z", Get(u"One", u"signs"));
  EXPECT_EQ(u"", Get(u"One", u"empty"));
  EXPECT_EQ(u"\u00E4\u20AC\U0001F600", Get(u"two", u"plain"));
  EXPECT_EQ(u"9", Get(u"last", u"end"));
}

TEST_F(Settings, NamesDifferByMoreThanCase) {
  home.WriteSettings("[SMSservice]\nReceviceMode = 1\n");
  EXPECT_EQ(u"1", Get(u"smsSERVICE", u"receviceMODE"));
  EXPECT_EQ(0, Set(u"SMSSERVICE", u"RECEVICEMODE", u"2"));
  EXPECT_EQ("[SMSservice]\nReceviceMode = 2\n", File());
}

TEST_F(Settings, LastOfSeveralLinesCountsAndIsTheOneChanged) {
  home.WriteSettings("[a]\nk = 1\n[b]\nk = 5\n[a]\nk = 2\n");
  EXPECT_EQ(u"2", Get(u"a", u"k"));
  EXPECT_EQ(0, Set(u"a", u"k", u"3"));
  EXPECT_EQ("[a]\nk = 1\n[b]\nk = 5\n[a]\nk = 3\n", File());
  EXPECT_EQ(u"3", Get(u"a", u"k"));
}

TEST_F(Settings, ChangesOfTheFileAreSeenAtTheNextRead) {
  for (int i = 0; i < 200; ++i) {
    const std::string digit(1, static_cast<char>('0' + i % 10));  // same size, same file, within one tick of the clock
    home.WriteSettings("[a]\nk = " + digit + "\n");
    ASSERT_EQ(VELK_wstring(1, static_cast<VELK_wchar_t>(digit[0])), Get(u"a", u"k")) << i;
  }
  fs::remove(home.SettingsFile());
  EXPECT_EQ(u"", Get(u"a", u"k"));
  home.WriteSettings("[a]\nk = back\n");
  EXPECT_EQ(u"back", Get(u"a", u"k"));
}

TEST_F(Settings, SetIsSeenAtTheNextRead) {
  for (const VELK_wchar_t* value : {u"1", u"2", u"", u"3", u"a longer one", u"\U0001F600"}) {
    ASSERT_EQ(0, Set(u"a", u"k", value));
    ASSERT_EQ(value, Get(u"a", u"k"));
  }
}

TEST_F(Settings, SetMakesAPrivateFileInPrivateFolders) {
  const std::string deep = home.Path("deep/er/settings.ini");
  SetSettingsFile(deep);
  EXPECT_EQ(0, Set(u"a", u"k", u"v"));
  EXPECT_EQ(0600U, ModeOf(deep));
  EXPECT_EQ(0700U, ModeOf(home.Path("deep")));
  EXPECT_EQ(0700U, ModeOf(home.Path("deep/er")));
  EXPECT_EQ(u"v", Get(u"a", u"k"));
}

TEST_F(Settings, SetChangesOneLineAndNothingElse) {
  const std::string before =
      "# top\r\n\r\n[a]\r\n; about x\r\n x=1  \r\nwhat is this\r\n\r\n[empty]\r\n[z]\r\ny = 2\r\n# the end";
  home.WriteSettings(before);
  chmod(home.SettingsFile().c_str(), 0640);
  EXPECT_EQ(0, Set(u"a", u"x", u"new"));
  EXPECT_EQ("# top\r\n\r\n[a]\r\n; about x\r\n x=new  \r\nwhat is this\r\n\r\n[empty]\r\n[z]\r\ny = 2\r\n# the end",
            File());
  EXPECT_EQ(0640U, ModeOf(home.SettingsFile()));
  EXPECT_EQ(1U, FilesInHome());
}

TEST_F(Settings, NewKeysGoToTheEndOfTheirSection) {
  home.WriteSettings("[a]\nx = 1\n# after x\n\n[empty]\n# nothing yet\n[b]\ny = 2");
  EXPECT_EQ(0, Set(u"a", u"n", u"3"));
  EXPECT_EQ(0, Set(u"empty", u"n", u"4"));
  EXPECT_EQ(0, Set(u"b", u"n", u"5"));
  EXPECT_EQ(0, Set(u"new", u"n", u"6"));
  EXPECT_EQ(0, Set(u"", u"n", u"7"));
  EXPECT_EQ("n = 7\n[a]\nx = 1\nn = 3\n# after x\n\n[empty]\nn = 4\n# nothing yet\n[b]\ny = 2\nn = 5\n\n[new]\nn = 6\n",
            File());
}

TEST_F(Settings, KeepsAByteOrderMarkInFront) {
  home.WriteSettings("\xEF\xBB\xBF[a]\nx = 1\n");
  EXPECT_EQ(0, Set(u"", u"top", u"0"));
  EXPECT_EQ("\xEF\xBB\xBFtop = 0\n[a]\nx = 1\n", File());
}

TEST_F(Settings, RefusesWhatWouldNotReadBackAsGiven) {
  home.WriteSettings("[a]\nx = 1\n");
  EXPECT_EQ(-1, Set(u"a", u"x", u"2\ny = 3"));
  EXPECT_EQ(-1, Set(u"a", u"x", u"2\r\n[b]"));
  EXPECT_EQ(-1, Set(u"a", u"x", u"2\r"));
  EXPECT_EQ(-1, Set(u"a", u"x", u" 2"));
  EXPECT_EQ(-1, Set(u"a", u"x", u"\xD83D"));
  EXPECT_EQ(-1, Set(u"a", u"y = 1\nz", u"2"));
  EXPECT_EQ(-1, Set(u"a", u"y = 1", u"2"));
  EXPECT_EQ(-1, Set(u"a", u"[y]", u"2"));
  EXPECT_EQ(-1, Set(u"a", u"#y", u"2"));
  EXPECT_EQ(-1, Set(u"a", u"", u"2"));
  EXPECT_EQ(-1, Set(u"a]\n[b", u"y", u"2"));
  EXPECT_EQ(-1, Set(u" a", u"y", u"2"));
  EXPECT_EQ("[a]\nx = 1\n", File());
}

TEST_F(Settings, RefusesNull) {
  EXPECT_EQ(-1, Set(nullptr, u"k", u"v"));
  EXPECT_EQ(-1, Set(u"a", nullptr, u"v"));
  EXPECT_EQ(-1, Set(u"a", u"k", nullptr));
  EXPECT_FALSE(fs::exists(home.SettingsFile()));
}

TEST_F(Settings, WritesThroughASymbolicLink) {
  home.WriteFile("real/own.ini", "[a]\nx = 1\n");
  fs::create_symlink("real/own.ini", home.SettingsFile());
  EXPECT_EQ(u"1", Get(u"a", u"x"));
  EXPECT_EQ(0, Set(u"a", u"x", u"2"));
  EXPECT_TRUE(fs::is_symlink(home.SettingsFile()));
  EXPECT_EQ("[a]\nx = 2\n", home.ReadFile("real/own.ini"));
  EXPECT_EQ(u"2", Get(u"a", u"x"));
}

TEST_F(Settings, MakesTheTargetOfALinkThatLeadsNowhere) {
  fs::create_symlink("later/own.ini", home.SettingsFile());
  EXPECT_EQ(0, Set(u"a", u"x", u"2"));
  EXPECT_TRUE(fs::is_symlink(home.SettingsFile()));
  EXPECT_EQ("[a]\nx = 2\n", home.ReadFile("later/own.ini"));
}

TEST_F(Settings, ALinkToItselfIsUnusable) {
  fs::create_symlink("settings.ini", home.SettingsFile());
  EXPECT_EQ(u"", Get(u"a", u"x"));
  EXPECT_EQ(-1, Set(u"a", u"x", u"2"));
  EXPECT_NE("", CGlobalFunction::CheckSettings(false));
}

TEST_F(Settings, ADamagedFileReadsAsEmptyAndIsNotOverwritten) {
  const std::string damaged("[a]\nx = 1\n\0\0\0", 13);
  home.WriteSettings(damaged);
  EXPECT_EQ(u"", Get(u"a", u"x"));
  EXPECT_EQ(-1, Set(u"a", u"x", u"2"));
  EXPECT_EQ(damaged, File());
  const std::string line = CGlobalFunction::CheckSettings(false);
  EXPECT_NE(std::string::npos, line.find(home.SettingsFile())) << line;
  EXPECT_NE(std::string::npos, line.find("zero bytes")) << line;
  home.WriteSettings("[a]\nx = 3\n");
  EXPECT_EQ(u"3", Get(u"a", u"x"));
  EXPECT_EQ("", CGlobalFunction::CheckSettings(true));
}

TEST_F(Settings, AHugeFileIsUnusable) {
  home.WriteSettings("[a]\nx = 1\n" + std::string(3 << 20, '#'));
  EXPECT_EQ(u"", Get(u"a", u"x"));
  EXPECT_EQ(-1, Set(u"a", u"x", u"2"));
  EXPECT_NE(std::string::npos, CGlobalFunction::CheckSettings(false).find("File too large"));
}

TEST_F(Settings, AFolderInPlaceOfTheFileIsUnusable) {
  fs::create_directory(home.SettingsFile());
  EXPECT_EQ(u"", Get(u"a", u"x"));
  EXPECT_EQ(-1, Set(u"a", u"x", u"2"));
  EXPECT_NE(std::string::npos, CGlobalFunction::CheckSettings(false).find("is not a file"));
}

TEST_F(Settings, AFileInPlaceOfTheFolderIsUnusable) {
  home.WriteFile("folder", "not one");
  SetSettingsFile(home.Path("folder/settings.ini"));
  EXPECT_EQ(u"", Get(u"a", u"x"));
  EXPECT_EQ(-1, Set(u"a", u"x", u"2"));
  EXPECT_NE(std::string::npos, CGlobalFunction::CheckSettings(false).find("Not a directory"));
}

/// File permissions do not bind the superuser, so this runs as somebody else then.
TEST_F(Settings, AFileThatMayNotBeReadOrWrittenIsLeftAlone) {
  home.WriteSettings("[a]\nx = 1\n");
  chmod(home.Path().c_str(), 0777);
  const auto asOther = [&](unsigned int mode, int expectedLength) {
    chmod(home.SettingsFile().c_str(), mode);
    const pid_t child = fork();
    if (child == 0) {
      const bool bDropped = getuid() != 0 || setuid(65534) == 0;
      const bool bRead = CGlobalFunction::GetSetting(u"a", u"x", nullptr, 0) == expectedLength;
      const bool bTold =
          expectedLength != 0 || CGlobalFunction::CheckSettings(false).find("Permission denied") != std::string::npos;
      const bool bRefused = Set(u"a", u"x", u"2") == -1;
      _exit(bDropped && bRead && bTold && bRefused ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status) << std::oct << mode;
    EXPECT_EQ(0, chmod(home.SettingsFile().c_str(), 0600));
    EXPECT_EQ("[a]\nx = 1\n", File());
  };
  asOther(0000, 0);
  asOther(0444, 1);
}

TEST_F(Settings, CheckNamesTheFirstLineItDoesNotKnow) {
  home.WriteSettings("# fine\n[a]\nx = 1\nwhat is this\n[b\n");
  EXPECT_NE(std::string::npos, CGlobalFunction::CheckSettings(false).find("line 4 "));
  EXPECT_EQ(u"1", Get(u"a", u"x"));
  home.WriteSettings(
      "[a]\n# Gr\xFC\xDF"
      "e\nx = 1\n");
  EXPECT_NE(std::string::npos, CGlobalFunction::CheckSettings(false).find("line 2 "));
  home.WriteSettings("[a]\n = 1\n");
  EXPECT_NE(std::string::npos, CGlobalFunction::CheckSettings(false).find("line 2 "));
  home.WriteSettings("[a]\nx = 1\n");
  EXPECT_EQ("", CGlobalFunction::CheckSettings(true));
}

TEST_F(Settings, CheckFaultsAMissingFileOnlyWhenItMustExist) {
  EXPECT_EQ("", CGlobalFunction::CheckSettings(false));
  const std::string line = CGlobalFunction::CheckSettings(true);
  EXPECT_EQ("settings file " + home.SettingsFile() + " does not exist. Create it, or name another one (SMS_CONFIG).",
            line);
}

TEST_F(Settings, AnOverrideIsStrongerThanTheFileUntilTakenBack) {
  home.WriteSettings("[a]\nx = 1\n");
  CGlobalFunction::OverrideSetting(u"A", u"X", u"override");
  EXPECT_EQ(u"override", Get(u"a", u"x"));
  EXPECT_EQ(0, Set(u"a", u"x", u"2"));
  EXPECT_EQ(u"override", Get(u"a", u"x"));
  EXPECT_EQ("[a]\nx = 2\n", File());
  CGlobalFunction::OverrideSetting(u"a", u"x", nullptr);
  EXPECT_EQ(u"2", Get(u"a", u"x"));
  CGlobalFunction::OverrideSetting(nullptr, u"x", u"y");
  CGlobalFunction::OverrideSetting(u"a", nullptr, u"y");
  EXPECT_EQ(u"2", Get(u"a", u"x"));
}

TEST_F(Settings, WritesNoMoreThanTheBufferHolds) {
  home.WriteSettings("[a]\nx = abcde\n");
  VELK_wchar_t buffer[] = u"######";
  EXPECT_EQ(5, CGlobalFunction::GetSetting(u"a", u"x", buffer, 3));
  EXPECT_EQ(VELK_wstring(u"abc###"), buffer);
  EXPECT_EQ(5, CGlobalFunction::GetSetting(u"a", u"x", buffer, 5));
  EXPECT_EQ(VELK_wstring(u"abcde#"), buffer);
  EXPECT_EQ(5, CGlobalFunction::GetSetting(u"a", u"x", buffer, -1));
}

TEST_F(Settings, WritersOfManyThreadsLoseNothing) {
  const auto writeMany = [](const VELK_wchar_t* module) {
    for (VELK_wchar_t key = u'a'; key <= u'z'; ++key) {
      const VELK_wchar_t item[] = {key, 0};
      EXPECT_EQ(0, Set(module, item, item));
      EXPECT_EQ(item, Get(module, item));
    }
  };
  CTestThread first([&] { writeMany(u"first"); });
  CTestThread second([&] { writeMany(u"second"); });
  ASSERT_EQ(0, first.Start());
  ASSERT_EQ(0, second.Start());
  ASSERT_TRUE(first.WaitForEnd(6 * kDeadlineMs));
  ASSERT_TRUE(second.WaitForEnd(6 * kDeadlineMs));
  for (VELK_wchar_t key = u'a'; key <= u'z'; ++key) {
    const VELK_wchar_t item[] = {key, 0};
    EXPECT_EQ(item, Get(u"first", item));
    EXPECT_EQ(item, Get(u"second", item));
  }
}

TEST_F(Settings, WritersOfManyProcessesLoseNothing) {
  const auto writeMany = [](const VELK_wchar_t* module) {
    bool bAll = true;
    for (VELK_wchar_t key = u'a'; key <= u'z'; ++key) {
      const VELK_wchar_t item[] = {key, 0};
      bAll = Set(module, item, item) == 0 && bAll;
    }
    return bAll;
  };
  const pid_t child = fork();
  if (child == 0) {
    _exit(writeMany(u"child") ? 0 : 1);
  }
  EXPECT_TRUE(writeMany(u"parent"));
  int status = 0;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  for (VELK_wchar_t key = u'a'; key <= u'z'; ++key) {
    const VELK_wchar_t item[] = {key, 0};
    EXPECT_EQ(item, Get(u"parent", item));
    EXPECT_EQ(item, Get(u"child", item));
  }
  EXPECT_EQ(1U, FilesInHome());
}

}  // namespace
