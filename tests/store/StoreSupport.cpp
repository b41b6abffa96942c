#include "StoreSupport.h"

#include "Text.h"
#include "platform/JClock.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <csignal>
#include <ctime>
#include <filesystem>

CSMSRecordImpl MakeRecord(const VELK_wstring& content, int position) {
  CSMSRecordImpl record;
  record.SetMSGID(-1);
  record.SetNumber(u"+491700000");
  record.SetContent(content.c_str());
  record.SetTime(u"20261120120000");
  record.SetIsRead(NS_SMS::IS_NOT_READ);
  record.SetInitialPosition(position);
  record.SetPosition(position);
  record.SetSendResult(NS_SMS::SUCCESS);
  return record;
}

CSMSRecordImpl MakePart(const VELK_wstring& content, int part, int total, int reference, const VELK_wstring& time,
                        const VELK_wstring& number) {
  CSMSRecordImpl record = MakeRecord(content);
  record.SetNumber(number.c_str());
  record.SetTime(time.c_str());
  record.SetMSGInfo(reference, total, part);
  return record;
}

CSMSRecordImpl MakeBroadcast(const VELK_wstring& content, const VELK_wstring& time) {
  CSMSRecordImpl record = MakeRecord(content, NS_SMS::CBS_BOX);
  record.SetMSGType(NS_SMS::MSG_CELL_BROADCAST);
  record.SetTime(time.c_str());
  return record;
}

std::string Describe(const ISMSRecord& record) {
  int reference = 0;
  int total = 0;
  int part = 0;
  record.GetMSGInfo(reference, total, part);
  std::string line = Utf8(record.GetNumber()) + "|" + Utf8(record.GetContent()) + "|" + Utf8(record.GetTime());
  for (const int value : {record.GetIsRead(), record.GetPosition(), record.GetSendResult(), record.GetMSGType(),
                          reference, total, part, record.GetInitialPosition(), record.GetSMSPriority()}) {
    line += "|" + std::to_string(value);
  }
  return line;
}

std::string DescribeAll(const ISMSRecord& record) {
  return std::to_string(record.GetMSGID()) + "|" + std::to_string(record.GetSMSClass()) + "|" + Describe(record);
}

std::vector<CSMSRecordImpl> Records(CSMSRecordSetImpl& set) {
  std::vector<CSMSRecordImpl> records;
  for (long at = set.MoveFirst(); at == 0; at = set.MoveNext()) {
    records.push_back(*set.GetCurRecord());
  }
  return records;
}

std::vector<std::string> Contents(CSMSRecordSetImpl& set) {
  std::vector<std::string> contents;
  for (const CSMSRecordImpl& record : Records(set)) {
    contents.push_back(Utf8(record.GetContent()));
  }
  return contents;
}

VELK_wstring DaysFromToday(int days) {
  const std::time_t now = JClock::CalendarNow();
  std::tm fields{};
  localtime_r(&now, &fields);
  fields.tm_mday += days;
  fields.tm_hour = 12;
  fields.tm_min = 0;
  fields.tm_sec = 0;
  fields.tm_isdst = -1;
  mktime(&fields);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%d%H%M%S", &fields);
  return Utf16(text);
}

SaveResult Save(CSMSMgr& store, ISMSRecord& record) {
  SaveResult result{0, -1, 1};
  result.result = store.SaveRecord(&record, &result.id, result.saved);
  return result;
}

CStoreHome::CStoreHome(const std::string& settings) {
  m_home.WriteSettings(settings);
  Open();
}

CStoreHome::~CStoreHome() { Close(); }

void CStoreHome::Open(CSMSServiceImpl* service) {
  Close();
  m_pStore = std::make_unique<CFileSMSImpl>(service);
  m_pStore->GetReocrdList();
  EXPECT_TRUE(m_pStore->AwaitLoadThread(20000));
}

std::vector<std::string> CStoreHome::Rows() {
  std::vector<std::string> rows;
  LocalDatabaseMgr database;
  database.OpenConnection("SmsDBConnection");
  std::vector<int> indexes;
  database.GetAllRecordIndex("SmsLocalRecord", indexes);
  for (const int index : indexes) {
    CSMSRecordImpl record;
    LocalDatabaseMgr::FieldType fields;
    database.GetOneRecord("SmsLocalRecord", static_cast<unsigned int>(index), fields);
    CFileSMSImpl::GetSMSRecord(index, fields, &record);
    rows.push_back(std::to_string(index) + "|" + Describe(record));
  }
  return rows;
}

CRawDatabase::CRawDatabase(const std::string& path) : m_pDb(nullptr) {
  EXPECT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &m_pDb)) << path;
  sqlite3_busy_timeout(m_pDb, 5000);
}

CRawDatabase::~CRawDatabase() { sqlite3_close(m_pDb); }

void CRawDatabase::Execute(const std::string& sql) {
  char* error = nullptr;
  EXPECT_EQ(SQLITE_OK, sqlite3_exec(m_pDb, sql.c_str(), nullptr, nullptr, &error)) << sql << ": " << error;
  sqlite3_free(error);
}

long long CRawDatabase::Number(const std::string& sql) {
  long long number = -1;
  const auto take = [](void* out, int, char** values, char**) {
    *static_cast<long long*>(out) = values[0] == nullptr ? -1 : std::atoll(values[0]);
    return 0;
  };
  EXPECT_EQ(SQLITE_OK, sqlite3_exec(m_pDb, sql.c_str(), take, &number, nullptr)) << sql;
  return number;
}

CFullDisk::CFullDisk(const std::string& path) {
  struct rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  m_ulBefore = limit.rlim_cur;
  std::signal(SIGXFSZ, SIG_IGN);
  limit.rlim_cur = std::filesystem::file_size(path);
  setrlimit(RLIMIT_FSIZE, &limit);
}

CFullDisk::~CFullDisk() {
  struct rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = m_ulBefore;
  setrlimit(RLIMIT_FSIZE, &limit);
}
