// The trace.
#include "platform/TraceSrv.h"

#include "TempHome.h"
#include "TestThread.h"
#include "TraceCapture.h"
#include "platform/JClock.h"
#include "platform/PlatformPaths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace Tracelevel;

class Trace : public testing::Test {
protected:
  Trace() { TraceSrv_SetLevel(TL_ERRO); }

  std::vector<std::string> Lines(const std::string& strFile = "sms.log") const {
    std::vector<std::string> lines;
    std::istringstream text(home.ReadFile(strFile));
    for (std::string line; std::getline(text, line);) {
      lines.push_back(line);
    }
    return lines;
  }
  /// The part after the module of the only line.
  std::string OnlyText() const {
    const std::vector<std::string> lines = Lines();
    EXPECT_EQ(1U, lines.size());
    const std::size_t at = lines.empty() ? std::string::npos : lines[0].find("M: ");
    return at == std::string::npos ? "" : lines[0].substr(at + 3);
  }
  void SetLogFile(const std::string& strFile) const {
    PlatformPaths paths = GetPlatformPaths();
    paths.strLogFile = strFile;
    SetPlatformPaths(paths);
  }
  const CTempHome home;
};

TEST_F(Trace, WritesTimeLevelThreadModuleAndText) {
  TraceSrv_Trace(TL_ERRO, "SMSSERVICE", "send end");
  ASSERT_EQ(1U, Lines().size());
  EXPECT_THAT(Lines()[0], testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}[+-]"
                                                "[0-9]{4} ERRO \\[[0-9]+\\] SMSSERVICE: send end"));
}

TEST_F(Trace, TakesTheTimeFromTheClock) {
  setenv("TZ", "UTC0", 1);
  tzset();
  JManualClock clock(1721044800);
  clock.Advance(7);
  TraceSrv_Trace(TL_ERRO, "M", "x");
  EXPECT_EQ(0U, Lines().at(0).find("2024-07-15 12:00:00.007+0000 ERRO"));
  unsetenv("TZ");
}

TEST_F(Trace, TextIsDataAndNeverAFormat) {
  TraceSrv_Trace(TL_ERRO, "M", "100 % %s %n %d");
  EXPECT_EQ("100 % %s %n %d", OnlyText());
}

struct EscapeRow {
  const char* name;
  const char* text;
  const char* shown;
};

void PrintTo(const EscapeRow& row, std::ostream* out) { *out << row.name; }

class TraceEscapes : public Trace, public testing::WithParamInterface<EscapeRow> {};

TEST_P(TraceEscapes, WhatCouldForgeALineOrMoveACursor) {
  const CTraceCapture capture;
  TraceSrv_Trace(TL_ERRO, "M", GetParam().text);
  EXPECT_EQ(GetParam().shown, OnlyText());
  EXPECT_TRUE(capture.Contains(GetParam().shown));
}

INSTANTIATE_TEST_SUITE_P(Trace, TraceEscapes,
                         testing::Values(EscapeRow{"LineBreaks", "a\nb\r\nc\td", "a\\nb\\r\\nc\\td"},
                                         EscapeRow{"TerminalSequence", "\x1B[2J\x07", "\\x1b[2J\\x07"},
                                         EscapeRow{"Delete", "a\x7F", "a\\x7f"},
                                         EscapeRow{"UpperControls",
                                                   "\xC2\x9B"
                                                   "31m",
                                                   "\\u009b31m"},
                                         EscapeRow{"LineSeparators", "\xE2\x80\xA8\xE2\x80\xA9", "\\u2028\\u2029"},
                                         EscapeRow{"NotUtf8", "\xFF\xE2\x82z", "\\xff\\xe2\\x82z"},
                                         EscapeRow{"OtherLanguagesStay", "\xC3\xA4\xE4\xBD\xA0\xF0\x9F\x98\x80",
                                                   "\xC3\xA4\xE4\xBD\xA0\xF0\x9F\x98\x80"},
                                         EscapeRow{"BackslashStays", "a\\nb", "a\\nb"}, EscapeRow{"Empty", "", ""}),
                         [](const testing::TestParamInfo<EscapeRow>& row) { return row.param.name; });

TEST_F(Trace, EscapesTheModuleToo) {
  TraceSrv_Trace(TL_ERRO, "a\nb", "x");
  EXPECT_EQ(1U, Lines().size());
}

TEST_F(Trace, SkipsNullTexts) {
  TraceSrv_Trace(TL_ERRO, "M", nullptr);
  EXPECT_EQ(0U, Lines().size());
  TraceSrv_Trace(TL_ERRO, nullptr, "without a module");
  EXPECT_NE(std::string::npos, Lines().at(0).find(" : without a module"));
}

TEST_F(Trace, DropsLinesAboveTheLevel) {
  for (int threshold = TL_NULL; threshold <= TL_INFO; ++threshold) {
    SetLogFile(home.Path("level" + std::to_string(threshold)));
    TraceSrv_SetLevel(static_cast<TraceLevel>(threshold));
    for (int level = -1; level <= TL_INFO + 1; ++level) {
      TraceSrv_Trace(static_cast<TraceLevel>(level), "M", "x");
    }
    EXPECT_EQ(static_cast<std::size_t>(threshold), Lines("level" + std::to_string(threshold)).size());
  }
}

TEST_F(Trace, FileAndFoldersArePrivate) {
  SetLogFile(home.Path("a/b/own.log"));
  TraceSrv_Trace(TL_ERRO, "M", "x");
  struct stat status = {};
  ASSERT_EQ(0, stat(home.Path("a/b/own.log").c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 0777U);
  ASSERT_EQ(0, stat(home.Path("a/b").c_str(), &status));
  EXPECT_EQ(0700U, status.st_mode & 0777U);
  ASSERT_EQ(0, stat(home.Path("a").c_str(), &status));
  EXPECT_EQ(0700U, status.st_mode & 0777U);
}

TEST_F(Trace, AppendsToWhatIsThere) {
  home.WriteFile("sms.log", "before\n");
  TraceSrv_Trace(TL_ERRO, "M", "x");
  EXPECT_EQ(2U, Lines().size());
}

TEST_F(Trace, LinesAreInTheFileAtOnce) {
  for (std::size_t n = 1; n < 10; ++n) {
    TraceSrv_Trace(n % 2 == 0 ? TL_CRIT : TL_ERRO, "M", "x");
    EXPECT_EQ(n, Lines().size());
  }
  TraceSrv_Flush();
  EXPECT_EQ(9U, Lines().size());
}

TEST_F(Trace, TurnsTheFileOverAndKeepsThree) {
  const std::string text(10000, 'x');
  for (int i = 0; i < 1200; ++i) {
    TraceSrv_Trace(TL_ERRO, "M", (std::to_string(i) + " " + text).c_str());
  }
  TraceSrv_Trace(TL_ERRO, "M", "last");
  EXPECT_NE(std::string::npos, Lines().back().find("M: last"));
  for (const char* file : {"sms.log", "sms.log.1", "sms.log.2", "sms.log.3"}) {
    EXPECT_LE(fs::file_size(home.Path(file)), (2U << 20) + 20000U) << file;
    EXPECT_GE(Lines(file).size(), 1U) << file;
  }
  EXPECT_FALSE(fs::exists(home.Path("sms.log.4")));
  struct stat status = {};
  ASSERT_EQ(0, stat(home.LogFile().c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 0777U);
}

TEST_F(Trace, FollowsWhenOthersMoveTheFileAway) {
  TraceSrv_Trace(TL_ERRO, "M", "first");
  fs::rename(home.LogFile(), home.Path("moved"));
  for (int i = 0; i < 200; ++i) {
    TraceSrv_Trace(TL_ERRO, "M", "x");
  }
  EXPECT_GE(Lines().size(), 100U);
  EXPECT_EQ(201U, Lines().size() + Lines("moved").size());
}

TEST_F(Trace, CutsTextsBeyondAllMeasure) {
  TraceSrv_Trace(TL_ERRO, "M", std::string(1 << 20, 'x').c_str());
  EXPECT_EQ(std::string(16384, 'x') + "...", OnlyText());
}

TEST_F(Trace, GoesOnWhereNothingCanBeWritten) {
  home.WriteFile("file", "not a folder");
  SetLogFile(home.Path("file/sms.log"));
  TraceSrv_Trace(TL_CRIT, "M", "lost");
  TraceSrv_Trace(TL_CRIT, "M", "lost");
  TraceSrv_Flush();
  EXPECT_EQ("not a folder", home.ReadFile("file"));
  SetLogFile(home.Path("other.log"));
  TraceSrv_Trace(TL_CRIT, "M", "kept");
  EXPECT_EQ(1U, Lines("other.log").size());
}

TEST_F(Trace, GoesOnWhenTheDiskIsFull) {
  SetLogFile("/dev/full");
  TraceSrv_Trace(TL_CRIT, "M", "lost");
  TraceSrv_Flush();
  SetLogFile(home.LogFile());
  TraceSrv_Trace(TL_ERRO, "M", "kept");
  EXPECT_EQ("kept", OnlyText());
}

/// A limit of the file's size cuts a line off in the middle, as a full disk does.
TEST_F(Trace, ALineAfterATornOneStandsAlone) {
  const pid_t child = fork();
  if (child == 0) {
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = 200;
    setrlimit(RLIMIT_FSIZE, &limit);
    TraceSrv_Trace(TL_ERRO, "M", std::string(500, 'x').c_str());
    TraceSrv_Trace(TL_ERRO, "M", "no room");
    limit.rlim_cur = before;
    setrlimit(RLIMIT_FSIZE, &limit);
    TraceSrv_Trace(TL_ERRO, "M", "room again");
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  ASSERT_EQ(2U, Lines().size());
  EXPECT_EQ(200U, Lines()[0].size());
  EXPECT_NE(std::string::npos, Lines()[1].find("M: room again"));
}

TEST_F(Trace, LeavesTheErrorNumberAlone) {
  home.WriteFile("file", "not a folder");
  SetLogFile(home.Path("file/sms.log"));
  errno = EINTR;
  TraceSrv_Trace(TL_CRIT, "M", "x");
  TraceSrv_Flush();
  EXPECT_EQ(EINTR, errno);
}

TEST_F(Trace, SinkHasALevelOfItsOwn) {
  std::vector<std::string> seen;
  TraceSrv_SetLevel(TL_CRIT);
  TraceSrv_SetSink(TL_WARN, [&](TraceLevel level, const std::string& module, const std::string& text) {
    seen.push_back(std::to_string(level) + module + text);
  });
  TraceSrv_Trace(TL_CRIT, "M", "c");
  TraceSrv_Trace(TL_WARN, "M", "w");
  TraceSrv_Trace(TL_INFO, "M", "i");
  TraceSrv_SetSink(TL_INFO, TraceSink());
  TraceSrv_Trace(TL_CRIT, "M", "after");
  EXPECT_EQ((std::vector<std::string>{"1Mc", "3Mw"}), seen);
  EXPECT_EQ(2U, Lines().size());
}

TEST_F(Trace, ASinkThatTracesOrThrowsDoesNoHarm) {
  int iCalls = 0;
  TraceSrv_SetSink(TL_INFO, [&](TraceLevel, const std::string&, const std::string&) {
    ++iCalls;
    TraceSrv_Trace(TL_ERRO, "M", "from the sink");
    throw std::runtime_error("sink");
  });
  TraceSrv_Trace(TL_ERRO, "M", "x");
  TraceSrv_Trace(TL_ERRO, "M", "y");
  TraceSrv_SetSink(TL_NULL, TraceSink());
  EXPECT_EQ(2, iCalls);
}

TEST_F(Trace, LinesOfManyThreadsStayWhole) {
  const auto writeMany = [](const char* pszText) {
    for (int i = 0; i < 500; ++i) {
      TraceSrv_Trace(TL_ERRO, "M", pszText);
    }
  };
  const std::string first(300, 'a');
  const std::string second(200, 'b');
  CTestThread firstThread([&] { writeMany(first.c_str()); });
  CTestThread secondThread([&] { writeMany(second.c_str()); });
  ASSERT_EQ(0, firstThread.Start());
  ASSERT_EQ(0, secondThread.Start());
  for (int i = 0; i < 100; ++i) {
    TraceSrv_SetSink(TL_INFO, [](TraceLevel, const std::string&, const std::string&) {});
    TraceSrv_SetSink(TL_NULL, TraceSink());
  }
  ASSERT_TRUE(firstThread.WaitForEnd(kDeadlineMs));
  ASSERT_TRUE(secondThread.WaitForEnd(kDeadlineMs));
  const std::vector<std::string> lines = Lines();
  ASSERT_EQ(1000U, lines.size());
  for (const std::string& line : lines) {
    const std::string text = line.substr(line.find("M: ") + 3);
    ASSERT_TRUE(text == first || text == second) << line;
  }
}

/// Runs in a process of its own, where the trace is not yet in use.
[[noreturn]] void TraceWithEnvironment(const char* pszLevel, std::size_t nExpected) {
  setenv("SMS_TRACE_LEVEL", pszLevel, 1);
  std::size_t nLines = 0;
  {
    const CTempHome home;
    for (const TraceLevel level : {TL_CRIT, TL_ERRO, TL_WARN, TL_INFO}) {
      TraceSrv_Trace(level, "M", "x");
    }
    std::istringstream text(home.ReadFile("sms.log"));
    for (std::string line; std::getline(text, line);) {
      ++nLines;
    }
  }
  _exit(nLines == nExpected ? 0 : 1);
}

TEST(TraceDeathTest, TakesItsFirstLevelFromTheEnvironment) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(TraceWithEnvironment("0", 0), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(TraceWithEnvironment("1", 1), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(TraceWithEnvironment("4", 4), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(TraceWithEnvironment("", 2), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(TraceWithEnvironment("9", 2), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(TraceWithEnvironment("44", 2), testing::ExitedWithCode(0), "");
}

}  // namespace
