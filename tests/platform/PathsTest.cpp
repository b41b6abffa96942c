// Where files are kept.
#include "platform/PlatformPaths.h"

#include "platform/GlobalFunction.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

const char* const kVariables[] = {"SMS_CONFIG",      "SMS_DATA_DIR",  "SMS_LOG_FILE",
                                  "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"};

class Paths : public testing::Test {
protected:
  void SetUp() override {
    for (const char* variable : kVariables) {
      unsetenv(variable);
    }
    setenv("HOME", "/home/someone", 1);
    SetPlatformPaths(PlatformPaths());
  }
  void TearDown() override { SetUp(); }
};

template <class Ask>
VELK_wstring Whole(const Ask& ask) {
  const int length = ask(nullptr, 0);
  VELK_wstring text(static_cast<std::size_t>(length) + 1, u'#');
  EXPECT_EQ(length, ask(&text[0], length + 1));
  EXPECT_EQ(0, text.back());
  text.pop_back();
  return text;
}

TEST(TestProcess, LeavesTheUsersFilesAlone) {
  const std::string home = std::string(std::getenv("HOME") ? std::getenv("HOME") : "/") + "/.";
  const PlatformPaths paths = GetPlatformPaths();
  for (const std::string& path : {paths.strSettingsFile, paths.strUserDataDir, paths.strLogFile}) {
    EXPECT_NE(home, path.substr(0, home.size()));
  }
}

TEST_F(Paths, FollowTheHomeFolder) {
  const PlatformPaths paths = GetPlatformPaths();
  EXPECT_EQ("/home/someone/.config/smsapp/settings.ini", paths.strSettingsFile);
  EXPECT_EQ("/home/someone/.local/share/smsapp", paths.strUserDataDir);
  EXPECT_EQ("/home/someone/.local/state/smsapp/sms.log", paths.strLogFile);
}

TEST_F(Paths, FollowTheBaseDirectoryVariables) {
  setenv("XDG_CONFIG_HOME", "/c", 1);
  setenv("XDG_DATA_HOME", "/d", 1);
  setenv("XDG_STATE_HOME", "/s", 1);
  const PlatformPaths paths = GetPlatformPaths();
  EXPECT_EQ("/c/smsapp/settings.ini", paths.strSettingsFile);
  EXPECT_EQ("/d/smsapp", paths.strUserDataDir);
  EXPECT_EQ("/s/smsapp/sms.log", paths.strLogFile);
}

TEST_F(Paths, IgnoreRelativeBaseDirectories) {
  setenv("XDG_CONFIG_HOME", "here", 1);
  EXPECT_EQ("/home/someone/.config/smsapp/settings.ini", GetPlatformPaths().strSettingsFile);
}

TEST_F(Paths, PreferTheirOwnVariables) {
  setenv("XDG_CONFIG_HOME", "/c", 1);
  setenv("SMS_CONFIG", "/etc/smsapp/settings.ini", 1);
  setenv("SMS_DATA_DIR", "/var/lib/smsapp/", 1);
  setenv("SMS_LOG_FILE", "/var/log/smsapp.log", 1);
  const PlatformPaths paths = GetPlatformPaths();
  EXPECT_EQ("/etc/smsapp/settings.ini", paths.strSettingsFile);
  EXPECT_EQ("/var/lib/smsapp", paths.strUserDataDir);
  EXPECT_EQ("/var/log/smsapp.log", paths.strLogFile);
}

TEST_F(Paths, PreferWhatWasSet) {
  setenv("SMS_CONFIG", "/no", 1);
  PlatformPaths paths;
  paths.strSettingsFile = "/a/s.ini";
  paths.strUserDataDir = "/a/data//";
  paths.strModuleDir = "/";
  SetPlatformPaths(paths);
  EXPECT_EQ("/a/s.ini", GetPlatformPaths().strSettingsFile);
  EXPECT_EQ("/a/data", GetPlatformPaths().strUserDataDir);
  EXPECT_EQ("/", GetPlatformPaths().strModuleDir);
}

TEST_F(Paths, WorkWithoutAHomeVariable) {
  unsetenv("HOME");
  EXPECT_EQ('/', GetPlatformPaths().strSettingsFile.at(0));
}

TEST_F(Paths, ModulesAreBesideThePlatformLibrary) {
  Dl_info info;
  ASSERT_NE(0, dladdr(dlsym(RTLD_DEFAULT, "_Z14TraceSrv_Flushv"), &info));
  EXPECT_TRUE(fs::path(GetPlatformPaths().strModuleDir).is_absolute());
  EXPECT_TRUE(fs::exists(GetPlatformPaths().strModuleDir + "/libsmsplatform.so"));
  EXPECT_TRUE(fs::equivalent(fs::path(info.dli_fname).parent_path(), GetPlatformPaths().strModuleDir));
}

TEST_F(Paths, DirectoriesAreGivenIn16BitText) {
  PlatformPaths paths;
  paths.strUserDataDir = "/h\xC3\xA4user";
  paths.strModuleDir = "/m";
  SetPlatformPaths(paths);
  EXPECT_EQ(u"/h\u00E4user", Whole(&CGlobalFunction::GetUserDataDirectory));
  EXPECT_EQ(u"/m/", Whole(&CGlobalFunction::GetModuleDirectory));
  paths.strModuleDir = "/";
  SetPlatformPaths(paths);
  EXPECT_EQ(u"/", Whole(&CGlobalFunction::GetModuleDirectory));
}

TEST_F(Paths, DirectoriesAreCutAtTheBuffer) {
  PlatformPaths paths;
  paths.strUserDataDir = "/abc";
  SetPlatformPaths(paths);
  VELK_wchar_t buffer[] = u"#####";
  EXPECT_EQ(4, CGlobalFunction::GetUserDataDirectory(buffer, 2));
  EXPECT_EQ(VELK_wstring(u"/a###"), buffer);
}

}  // namespace
