// Rows of the local database: text, order, indexes, tables and names.
#include "LocalDatabaseHome.h"
#include "Text.h"

#include <map>
#include <random>

namespace {

class LocalDatabaseRows : public CDatabaseTest {
protected:
  void SetUp() override { Open(m_database); }

  LocalDatabaseMgr m_database;
};

class LocalDatabaseTables : public CDatabaseTest {};

std::string Whole(LocalDatabaseMgr& database, unsigned int uIndex) {
  DatabaseRow row;
  const int iResult = database.GetOneRecord(kTable, uIndex, row);
  return iResult == DB_ERROR_OK ? Shown(row) : "error " + std::to_string(iResult);
}

}  // namespace

TEST_F(LocalDatabaseRows, ComeBackAsTheyWereAdded) {
  unsigned int uIndex = 0;
  EXPECT_EQ(DB_ERROR_OK, m_database.AddRecord(kTable, Row(u"+49170", u"hello"), uIndex));
  EXPECT_EQ(1u, uIndex);
  EXPECT_EQ("NUMBER=+49170 CONTENT=hello", Whole(m_database, uIndex));
}

TEST_F(LocalDatabaseRows, KeepEveryTextUnitByUnit) {
  const std::vector<VELK_wstring> texts = {
      u"",
      VELK_wstring(1, 0),
      VELK_wstring(u"before\0after", 12),
      u"\xD83D",       // half a surrogate pair at the end of a part
      u"\xDE00 tail",  // and its other half at the start of the next
      u"A\xD83D"
      u"B\xDE00",  // two halves that do not meet
      u"\xFEFF",   // byte-order marks, whole and turned round
      u"\xFEFFtext",
      u"\xFFFEtext",
      u"\xFEFF\xFEFF",
      u"\xFFFF\x0001",
      u"'); DROP TABLE Rows; --",
      VELK_wstring(9000, u'\x4E2D'),  // longer than the declared length of any column
  };
  std::vector<unsigned int> indexes;
  for (const VELK_wstring& text : texts) {
    indexes.push_back(Add(m_database, text));
  }
  ASSERT_EQ(DB_ERROR_OK, m_database.CloseConnection());
  Open(m_database);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    DatabaseRow row;
    ASSERT_EQ(DB_ERROR_OK, m_database.GetOneRecord(kTable, indexes[i], row));
    ASSERT_EQ(2u, row.size());
    EXPECT_EQ(texts[i], row[1].strValue) << "text " << i;
  }
}

TEST_F(LocalDatabaseRows, KeepEveryUnit) {
  VELK_wstring all;
  for (int unit = 0; unit <= 0xFFFF; ++unit) {
    all += static_cast<VELK_wchar_t>(unit);
  }
  const unsigned int uIndex = Add(m_database, all);
  DatabaseRow row;
  ASSERT_EQ(DB_ERROR_OK, m_database.GetOneRecord(kTable, uIndex, row));
  EXPECT_EQ(all, row[1].strValue);
}

TEST_F(LocalDatabaseRows, NeverGetTheIndexOfADeletedOne) {
  const unsigned int uFirst = Add(m_database, u"first");
  const unsigned int uSecond = Add(m_database, u"second");
  ASSERT_EQ(DB_ERROR_OK, m_database.DeleteRecord(kTable, uSecond));
  const unsigned int uThird = Add(m_database, u"third");
  EXPECT_GT(uThird, uSecond);
  ASSERT_EQ(DB_ERROR_OK, m_database.DeleteRecord(kTable, uFirst));
  ASSERT_EQ(DB_ERROR_OK, m_database.DeleteRecord(kTable, uThird));
  ASSERT_EQ(DB_ERROR_OK, m_database.CloseConnection());
  Open(m_database);
  EXPECT_GT(Add(m_database, u"after all were deleted and the file was closed"), uThird);
}

TEST_F(LocalDatabaseRows, ThatAreMissingAreNotRead) {
  DatabaseRow row = Row(u"left from", u"an earlier row");
  EXPECT_EQ(DB_ERROR_RECORD_NOT_EXSIST, m_database.GetOneRecord(kTable, 7, row));
  EXPECT_TRUE(row.empty());
}

TEST_F(LocalDatabaseRows, ThatAreMissingAreNotUpdatedNorDeleted) {
  const unsigned int uIndex = Add(m_database, u"there");
  EXPECT_EQ(DB_ERROR_RECORD_NOT_EXSIST, m_database.UpdateRecord(kTable, uIndex + 1, Row(u"", u"ghost")));
  EXPECT_EQ(DB_ERROR_RECORD_NOT_EXSIST, m_database.DeleteRecord(kTable, uIndex + 1));
  EXPECT_EQ(DB_ERROR_RECORD_NOT_EXSIST, m_database.DeleteRecord(kTable, 0xFFFFFFFFu));
  EXPECT_EQ("there", Content(m_database, uIndex));
}

TEST_F(LocalDatabaseRows, AreUpdatedByNameAndKeepWhatIsNotNamed) {
  const unsigned int uIndex = Add(m_database, u"old");
  EXPECT_EQ(DB_ERROR_OK, m_database.UpdateRecord(kTable, uIndex, {{"CONTENT", u"new"}}));
  EXPECT_EQ("NUMBER=+49170 CONTENT=new", Whole(m_database, uIndex));
  EXPECT_EQ(DB_ERROR_OK, m_database.UpdateRecord(kTable, uIndex, {{"CONTENT", u"newer"}, {"NUMBER", u"1"}}));
  EXPECT_EQ("NUMBER=1 CONTENT=newer", Whole(m_database, uIndex));
}

TEST_F(LocalDatabaseRows, AreListedInTheOrderOfTheirAddition) {
  constexpr int kRows = 10000;
  std::vector<int> expected;
  ASSERT_EQ(DB_ERROR_OK, m_database.BeginTransaction());
  for (int i = 0; i < kRows; ++i) {
    expected.push_back(static_cast<int>(Add(m_database, LongText(i))));
  }
  for (std::size_t i = expected.size() - 1; i > 0; i -= 9) {
    ASSERT_EQ(DB_ERROR_OK, m_database.DeleteRecord(kTable, static_cast<unsigned int>(expected[i])));
    expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(i));
  }
  ASSERT_EQ(DB_ERROR_OK, m_database.EndTransaction());
  EXPECT_EQ(expected, Indexes(m_database));
  for (const int iIndex : expected) {
    ASSERT_EQ(Utf8(LongText(iIndex - 1)), Content(m_database, static_cast<unsigned int>(iIndex)));
  }
  int iCount = 0;
  EXPECT_EQ(DB_ERROR_OK, m_database.GetRecordCount(kTable, iCount));
  EXPECT_EQ(static_cast<int>(expected.size()), iCount);
}

TEST_F(LocalDatabaseRows, AreTheSameInEveryOrderOfReading) {
  for (int i = 0; i < 20; ++i) {
    Add(m_database, LongText(i));
  }
  m_database.DeleteRecord(kTable, 5);
  m_database.DeleteRecord(kTable, 20);
  const std::vector<std::vector<unsigned int>> orders = {
      {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21},
      {19, 18, 17, 5, 4, 3, 2, 1, 1, 2, 3},
      {1, 3, 5, 7, 6, 7, 8, 20, 19, 1},
      {7, 7, 8, 8, 9, 2, 10, 11}};
  for (const auto& order : orders) {
    Indexes(m_database);
    for (const unsigned int uIndex : order) {
      const bool bThere = uIndex != 5 && uIndex < 20;
      ASSERT_EQ(bThere ? Utf8(LongText(static_cast<int>(uIndex) - 1)) : "error 3", Content(m_database, uIndex));
    }
  }
}

TEST_F(LocalDatabaseRows, AgreeWithAMapUnderRandomOperations) {
  LocalDatabaseMgr other;
  Open(other);
  std::map<unsigned int, std::string> model;
  std::mt19937 random(20240229);
  unsigned int uNext = 1;
  for (int i = 0; i < 1500; ++i) {
    LocalDatabaseMgr& database = random() % 4 == 0 ? other : m_database;
    const unsigned int uIndex = static_cast<unsigned int>(random() % 20) + (uNext > 15 ? uNext - 15 : 0);
    const VELK_wstring text = Utf16("text " + std::to_string(i));
    switch (random() % 8) {
      case 0:
        ASSERT_EQ(uNext, Add(database, text));
        model[uNext++] = Utf8(text);
        break;
      case 1:
        ASSERT_EQ(model.count(uIndex) != 0 ? DB_ERROR_OK : DB_ERROR_RECORD_NOT_EXSIST,
                  database.UpdateRecord(kTable, uIndex, {{"CONTENT", text}}));
        if (model.count(uIndex) != 0) {
          model[uIndex] = Utf8(text);
        }
        break;
      case 2:
        ASSERT_EQ(model.count(uIndex) != 0 ? DB_ERROR_OK : DB_ERROR_RECORD_NOT_EXSIST,
                  database.DeleteRecord(kTable, uIndex));
        model.erase(uIndex);
        break;
      case 3: {
        std::vector<int> expected;
        for (const auto& row : model) {
          expected.push_back(static_cast<int>(row.first));
        }
        ASSERT_EQ(expected, Indexes(database));
        break;
      }
      default:  // a run of rows, so that writes fall between reads of one run
        for (unsigned int u = uIndex, uEnd = uIndex + 6; u < uEnd; ++u) {
          ASSERT_EQ(model.count(u) != 0 ? model[u] : "error 3", Content(database, u));
        }
    }
  }
}

TEST_F(LocalDatabaseRows, WithoutFieldsOrWithUnknownOnesAreRefused) {
  unsigned int uIndex = 77;
  EXPECT_EQ(DB_ERROR_INVALID_PARAM, m_database.AddRecord(kTable, {}, uIndex));
  EXPECT_EQ(DB_ERROR_INVALID_PARAM, m_database.AddRecord(kTable, {{"NOBODY", u"x"}}, uIndex));
  EXPECT_EQ(DB_ERROR_INVALID_PARAM, m_database.AddRecord(kTable, {{"NUMBER", u"x"}, {"NUMBER", u"y"}}, uIndex));
  EXPECT_EQ(DB_ERROR_INVALID_PARAM, m_database.AddRecord(kTable, {{"ROWINDEX", u"1"}}, uIndex));
  EXPECT_EQ(DB_ERROR_INVALID_PARAM, m_database.UpdateRecord(kTable, 1, {}));
  EXPECT_EQ(77u, uIndex);
  EXPECT_TRUE(Indexes(m_database).empty());
}

TEST_F(LocalDatabaseRows, MayNameSomeColumnsOnly) {
  unsigned int uIndex = 0;
  ASSERT_EQ(DB_ERROR_OK, m_database.AddRecord(kTable, {{"CONTENT", u"alone"}}, uIndex));
  EXPECT_EQ("NUMBER= CONTENT=alone", Whole(m_database, uIndex));
}

TEST_F(LocalDatabaseTables, AreMadeOnceAndFoundAgain) {
  LocalDatabaseMgr database;
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  EXPECT_FALSE(database.IsTableExsis(kTable));
  EXPECT_EQ(DB_ERROR_OK, database.GennerateTable(kTable, TwoColumns()));
  EXPECT_TRUE(database.IsTableExsis(kTable));
  Add(database, u"kept");
  EXPECT_EQ(DB_ERROR_OK, database.GennerateTable(kTable, TwoColumns()));  // a second program may come first
  EXPECT_EQ("kept", Content(database, 1));
}

TEST_F(LocalDatabaseTables, GainMissingColumnsAndKeepTheirRows) {
  LocalDatabaseMgr database;
  Open(database);
  Add(database, u"old");
  ASSERT_EQ(DB_ERROR_OK, database.ConvertTable(kTable, {"NUMBER", "CONTENT", "TIME"}));
  EXPECT_EQ("NUMBER=+49170 CONTENT=old TIME=", Whole(database, 1));
  unsigned int uIndex = 0;
  ASSERT_EQ(DB_ERROR_OK, database.AddRecord(kTable, {{"NUMBER", u"1"}, {"TIME", u"20240229"}}, uIndex));
  EXPECT_EQ("NUMBER=1 CONTENT= TIME=20240229", Whole(database, uIndex));
}

TEST_F(LocalDatabaseTables, KeepFurtherColumnsBehindTheNamedOnes) {
  LocalDatabaseMgr database;
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  ASSERT_EQ(DB_ERROR_OK, database.GennerateTable(kTable, {"EXTRA", "CONTENT", "NUMBER"}));
  unsigned int uIndex = 0;
  ASSERT_EQ(DB_ERROR_OK,
            database.AddRecord(kTable, {{"EXTRA", u"kept"}, {"CONTENT", u"hello"}, {"NUMBER", u"1"}}, uIndex));
  ASSERT_EQ(DB_ERROR_OK, database.CloseConnection());
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  EXPECT_EQ("EXTRA=kept CONTENT=hello NUMBER=1", Whole(database, 1));
  ASSERT_EQ(DB_ERROR_OK, database.ConvertTable(kTable, TwoColumns()));
  EXPECT_EQ("NUMBER=1 CONTENT=hello EXTRA=kept", Whole(database, 1));
  Indexes(database);
  EXPECT_EQ("NUMBER=1 CONTENT=hello EXTRA=kept", Whole(database, 1));
}

TEST_F(LocalDatabaseTables, ThatAreMissingAreAnError) {
  LocalDatabaseMgr database;
  ASSERT_EQ(DB_ERROR_OK, database.OpenConnection(kDatabase));
  unsigned int uIndex = 0;
  std::vector<int> indexes;
  int iCount = 0;
  EXPECT_EQ(DB_ERROR_FAILURE, database.ConvertTable(kTable, TwoColumns()));
  EXPECT_EQ(DB_ERROR_FAILURE, database.AddRecord(kTable, Row(u"", u""), uIndex));
  EXPECT_EQ(DB_ERROR_FAILURE, database.UpdateRecord(kTable, 1, Row(u"", u"")));
  EXPECT_EQ(DB_ERROR_FAILURE, database.DeleteRecord(kTable, 1));
  EXPECT_EQ("error 1", Content(database, 1));
  EXPECT_EQ(DB_ERROR_FAILURE, database.GetAllRecordIndex(kTable, indexes));
  EXPECT_EQ(DB_ERROR_FAILURE, database.GetRecordCount(kTable, iCount));
  EXPECT_TRUE(m_trace.Contains("AddRecord \"Rows\": no such table (0)"));
  EXPECT_EQ(DB_ERROR_OK, database.GennerateTable(kTable, TwoColumns()));
  EXPECT_EQ(1u, Add(database, u"works now"));
}

TEST_F(LocalDatabaseTables, HaveNamesThatCannotDoHarm) {
  LocalDatabaseMgr database;
  Open(database);
  const std::string tooLong(65, 'A');
  for (const char* pszBad : {"", "1table", "two words", "a;b", "\"quoted\"", "sqlite_master", "Sqlite_x", "t\xC3\xA9",
                             tooLong.c_str(), static_cast<const char*>(nullptr)}) {
    unsigned int uIndex = 0;
    DatabaseRow row;
    std::vector<int> indexes;
    int iCount = 0;
    EXPECT_FALSE(database.IsTableExsis(pszBad));
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.GennerateTable(pszBad, TwoColumns()));
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.ConvertTable(pszBad, TwoColumns()));
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.AddRecord(pszBad, Row(u"", u""), uIndex));
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.UpdateRecord(pszBad, 1, Row(u"", u"")));
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.DeleteRecord(pszBad, 1));
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.GetOneRecord(pszBad, 1, row));
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.GetAllRecordIndex(pszBad, indexes));
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.GetRecordCount(pszBad, iCount));
  }
  for (const std::vector<std::string>& bad : std::vector<std::vector<std::string>>{
           {}, {""}, {"A", "a"}, {"x y"}, {"rowindex"}, {"a\"b"}, {std::string("a\0b", 3)}}) {
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.GennerateTable("Other", bad));
    EXPECT_EQ(DB_ERROR_INVALID_PARAM, database.ConvertTable(kTable, bad));
  }
  EXPECT_FALSE(database.IsTableExsis("Other"));
}
