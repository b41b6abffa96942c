// A local store in a home of its own, records in a few words, and the database file behind the store's back.
#pragma once

#include "FileSMSImpl.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "TempHome.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;

/// An ordinary received record.
CSMSRecordImpl MakeRecord(const VELK_wstring& content, int position = NS_SMS::RECEIVE_BOX);
/// One part of a long message, received.
CSMSRecordImpl MakePart(const VELK_wstring& content, int part, int total, int reference = 7,
                        const VELK_wstring& time = u"20261120120000", const VELK_wstring& number = u"+491700000");
/// A broadcast page of that day.
CSMSRecordImpl MakeBroadcast(const VELK_wstring& content, const VELK_wstring& time);

/// Every field but class and identifier, as one line.
std::string Describe(const ISMSRecord& record);
/// Identifier, class and every field, as one line.
std::string DescribeAll(const ISMSRecord& record);
/// A copy of every record of the set, in its order.
std::vector<CSMSRecordImpl> Records(CSMSRecordSetImpl& set);
std::vector<std::string> Contents(CSMSRecordSetImpl& set);

/// Fourteen digits of the present day moved by so many days, at noon.
VELK_wstring DaysFromToday(int days);

struct SaveResult {
  long result;
  long id;
  long saved;
};
/// Saves with the identifier preset to -1 and the count to 1.
SaveResult Save(CSMSMgr& store, ISMSRecord& record);

/// A local store on a fresh home.
class CStoreHome {
public:
  explicit CStoreHome(const std::string& settings = "");
  ~CStoreHome();

  CFileSMSImpl& Store() { return *m_pStore; }
  CSMSRecordSetImpl& Set() { return *m_pStore->GetReocrdList(); }
  const CTempHome& Home() const { return m_home; }
  void Close() { m_pStore.reset(); }
  /// A further store on the same file; its first load is through when it returns.
  void Open(CSMSServiceImpl* service = nullptr);
  void Restart() {
    Close();
    Open();
  }
  /// Identifiers and all fields of all rows, as the store reads them.
  std::vector<std::string> Rows();

private:
  CTempHome m_home;
  std::unique_ptr<CFileSMSImpl> m_pStore;
};

/// A second connection to the file, past the platform library.
class CRawDatabase {
public:
  explicit CRawDatabase(const std::string& path);
  ~CRawDatabase();
  CRawDatabase(const CRawDatabase&) = delete;
  CRawDatabase& operator=(const CRawDatabase&) = delete;

  /// Fails the test when the engine does.
  void Execute(const std::string& sql);
  long long Number(const std::string& sql);

private:
  sqlite3* m_pDb;
};

/// While it lives, no file of the process grows beyond its present size or that of the file given: a full disk.
class CFullDisk {
public:
  explicit CFullDisk(const std::string& path);
  ~CFullDisk();
  CFullDisk(const CFullDisk&) = delete;
  CFullDisk& operator=(const CFullDisk&) = delete;

private:
  unsigned long m_ulBefore;
};
