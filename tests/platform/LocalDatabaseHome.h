// A database of its own for a test, its trace, and work in a process of its own.
#pragma once

#include "TempHome.h"
#include "TraceCapture.h"
#include "platform/LocalDatabaseMgr.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

typedef LocalDatabaseMgr::FieldType DatabaseRow;

constexpr char kDatabase[] = "SmsDBConnection";
constexpr char kTable[] = "Rows";

/// The columns "NUMBER" and "CONTENT".
std::vector<std::string> TwoColumns();
DatabaseRow Row(const VELK_wstring& number, const VELK_wstring& content);
/// "NUMBER=+49 CONTENT=hello", for readable expectations.
std::string Shown(const DatabaseRow& row);
/// A text that differs from every other number's and fills a few hundred octets.
VELK_wstring LongText(int iNumber);

class CDatabaseTest : public ::testing::Test {
protected:
  /// Opens "SmsDBConnection" with the table.
  static void Open(LocalDatabaseMgr& database);
  static unsigned int Add(LocalDatabaseMgr& database, const VELK_wstring& content);
  /// Content of a row, or the error as "error 3".
  static std::string Content(LocalDatabaseMgr& database, unsigned int uIndex);
  static std::vector<int> Indexes(LocalDatabaseMgr& database);

  /// Lines of the database's module at that level.
  std::vector<std::string> TraceOf(int iLevel) const;
  /// Files in the data folder whose name begins so, sorted.
  std::vector<std::string> FilesLike(const std::string& start) const;
  std::string ReadFile(const std::string& name) const { return m_home.ReadFile("data/userdata/" + name); }
  void WriteFile(const std::string& name, const std::string& octets) const {
    m_home.WriteFile("data/userdata/" + name, octets);
  }

  CTempHome m_home;
  CTraceCapture m_trace;
};

/// Runs the work in a child process.
/// @return what the work returned, or 1000 and the signal that ended it.
int InChild(const std::function<int()>& work);
/// Gives up the right to write everywhere, which tests about rights must not have.
void BecomeNobody();

#define CHILD_EXPECT(condition)                                            \
  do {                                                                     \
    if (!(condition)) {                                                    \
      std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      return 1;                                                            \
    }                                                                      \
  } while (false)
