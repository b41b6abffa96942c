#include "LocalDatabaseHome.h"

#include "Text.h"

#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

std::vector<std::string> TwoColumns() { return {"NUMBER", "CONTENT"}; }

DatabaseRow Row(const VELK_wstring& number, const VELK_wstring& content) {
  return {{"NUMBER", number}, {"CONTENT", content}};
}

std::string Shown(const DatabaseRow& row) {
  std::string shown;
  for (const __ST_FIELD_TYPE& field : row) {
    shown += (shown.empty() ? "" : " ") + field.strFieldName + "=" + Utf8(field.strValue);
  }
  return shown;
}

VELK_wstring LongText(int iNumber) { return Repeat(Utf16("row " + std::to_string(iNumber) + " "), 150); }

void CDatabaseTest::Open(LocalDatabaseMgr& database) {
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  ASSERT_EQ(DB_ERROR_OK, database.GennerateTable(kTable, TwoColumns()));
}

unsigned int CDatabaseTest::Add(LocalDatabaseMgr& database, const VELK_wstring& content) {
  unsigned int uIndex = 0;
  EXPECT_EQ(DB_ERROR_OK, database.AddRecord(kTable, Row(u"+49170", content), uIndex));
  return uIndex;
}

std::string CDatabaseTest::Content(LocalDatabaseMgr& database, unsigned int uIndex) {
  DatabaseRow row;
  const int iResult = database.GetOneRecord(kTable, uIndex, row);
  return iResult == DB_ERROR_OK && row.size() == 2 ? Utf8(row[1].strValue) : "error " + std::to_string(iResult);
}

std::vector<int> CDatabaseTest::Indexes(LocalDatabaseMgr& database) {
  std::vector<int> indexes;
  EXPECT_EQ(DB_ERROR_OK, database.GetAllRecordIndex(kTable, indexes));
  return indexes;
}

std::vector<std::string> CDatabaseTest::TraceOf(int iLevel) const {
  const std::string start = std::to_string(iLevel) + " DATABASE ";
  std::vector<std::string> lines;
  for (const std::string& line : m_trace.FullLines()) {
    if (line.compare(0, start.size(), start) == 0) {
      lines.push_back(line.substr(start.size()));
    }
  }
  return lines;
}

std::vector<std::string> CDatabaseTest::FilesLike(const std::string& start) const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(m_home.Path("data/userdata"))) {
    const std::string name = entry.path().filename().string();
    if (name.compare(0, start.size(), start) == 0) {
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

int InChild(const std::function<int()>& work) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int iResult = work();
    std::fflush(stderr);
    _exit(iResult);
  }
  int iStatus = 0;
  waitpid(child, &iStatus, 0);
  return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : 1000 + WTERMSIG(iStatus);
}

void BecomeNobody() {
  constexpr uid_t kNobody = 65534;
  if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
    _exit(2);
  }
}
