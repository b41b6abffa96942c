// The file that keeps the dialogues of a modem, from its start on.
#include "RecordedStream.h"
#include "ScriptedStream.h"
#include "TempHome.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using testing::HasSubstr;

class Recording : public testing::Test {
protected:
  std::unique_ptr<modem::IByteStream> Begin() {
    m_error.clear();
    return m_recording.Begin(CScriptedLine::Open(m_line), m_path, false, m_error);
  }
  void TakeFolderAway() { std::filesystem::remove_all(m_home.Path("records")); }
  void MakeFolder() { std::filesystem::create_directories(m_home.Path("records")); }

  const CTempHome m_home;
  CTraceCapture m_trace;
  const std::string m_path = m_home.Path("records/modem.at");
  const std::shared_ptr<CScriptedLine> m_line = std::make_shared<CScriptedLine>();
  modem::CRecording m_recording;
  std::string m_error;
};

TEST_F(Recording, RefusesTheFirstLineThatCannotBeRecorded) {
  EXPECT_EQ(nullptr, Begin());
  EXPECT_THAT(m_error, HasSubstr(m_path));
  EXPECT_TRUE(m_trace.Lines().empty()) << "who starts the modem reads the error";
}

TEST_F(Recording, KeepsAllLinesInOneFile) {
  MakeFolder();
  for (const char* text : {"AT+FIRST\r", "AT+SECOND\r"}) {
    const auto line = Begin();
    ASSERT_TRUE(line) << m_error;
    ASSERT_TRUE(line->Write(text));
  }
  const std::string record = m_home.ReadFile("records/modem.at");
  EXPECT_THAT(record, HasSubstr("AT+FIRST"));
  EXPECT_THAT(record, HasSubstr("AT+SECOND"));
}

TEST_F(Recording, LetsAModemComeBackThatCanBeRecordedNoLonger) {
  MakeFolder();
  ASSERT_TRUE(Begin()) << m_error;
  TakeFolderAway();
  for (int times = 0; times < 2; ++times) {
    const auto line = Begin();
    ASSERT_TRUE(line) << m_error;
    EXPECT_EQ("", m_error);
    ASSERT_TRUE(line->Write("AT+CSQ\r"));
    EXPECT_EQ("AT+CSQ", m_line->AwaitHost());
  }
  ASSERT_EQ(1u, m_trace.Lines().size()) << "told once";
  EXPECT_THAT(m_trace.Lines()[0], HasSubstr(m_path));
}

TEST_F(Recording, GoesOnWhenTheFileCanBeOpenedAgain) {
  MakeFolder();
  ASSERT_TRUE(Begin());
  TakeFolderAway();
  ASSERT_TRUE(Begin());
  MakeFolder();
  const auto line = Begin();
  ASSERT_TRUE(line);
  ASSERT_TRUE(line->Write("AT+AGAIN\r"));
  EXPECT_THAT(m_home.ReadFile("records/modem.at"), HasSubstr("AT+AGAIN"));
}

}  // namespace
