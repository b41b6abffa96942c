// The public face of the database: no cancellation and no exception gets in or out.
#include "platform/LocalDatabaseMgr.h"

#include "LocalDatabaseConnection.h"
#include "NoCancel.h"
#include "platform/TraceSrv.h"

#include <exception>

class LocalDatabaseMgr::Connection : public CDatabaseConnection {};

namespace {

template <class Work>
int Guarded(Work&& work) {
  const CNoCancel noCancel;
  try {
    return work();
  } catch (const std::exception& fault) {  // out of memory
    TraceSrv_Trace(Tracelevel::TL_ERRO, "DATABASE", fault.what());
    return DB_ERROR_FAILURE;
  }
}

}  // namespace

LocalDatabaseMgr::LocalDatabaseMgr() : m_pConnection(std::make_shared<Connection>()) {}

LocalDatabaseMgr::~LocalDatabaseMgr() { CloseConnection(); }

int LocalDatabaseMgr::OpenConnection(const char* pszName) {
  return Guarded([&] { return m_pConnection->Open(pszName); });
}

int LocalDatabaseMgr::CloseConnection() {
  return Guarded([&] { return m_pConnection->Close(); });
}

bool LocalDatabaseMgr::IsTableExsis(const char* pszTable) {
  bool bThere = false;
  Guarded([&] {
    bThere = m_pConnection->HasTable(pszTable);
    return static_cast<int>(DB_ERROR_OK);
  });
  return bThere;
}

int LocalDatabaseMgr::GennerateTable(const char* pszTable, const std::vector<std::string>& vctNames) {
  return Guarded([&] { return m_pConnection->ShapeTable(pszTable, vctNames, true); });
}

int LocalDatabaseMgr::ConvertTable(const char* pszTable, const std::vector<std::string>& vctNames) {
  return Guarded([&] { return m_pConnection->ShapeTable(pszTable, vctNames, false); });
}

int LocalDatabaseMgr::AddRecord(const char* pszTable, const FieldType& vctFields, unsigned int& uIndex) {
  return Guarded([&] { return m_pConnection->Add(pszTable, vctFields, uIndex); });
}

int LocalDatabaseMgr::UpdateRecord(const char* pszTable, unsigned int uIndex, const FieldType& vctFields) {
  return Guarded([&] { return m_pConnection->Update(pszTable, uIndex, vctFields); });
}

int LocalDatabaseMgr::DeleteRecord(const char* pszTable, unsigned int uIndex) {
  return Guarded([&] { return m_pConnection->Remove(pszTable, uIndex); });
}

int LocalDatabaseMgr::GetOneRecord(const char* pszTable, unsigned int uIndex, FieldType& vctFields) {
  return Guarded([&] { return m_pConnection->Read(pszTable, uIndex, vctFields); });
}

int LocalDatabaseMgr::GetAllRecordIndex(const char* pszTable, std::vector<int>& vctIndex) {
  return Guarded([&] { return m_pConnection->ReadIndexes(pszTable, vctIndex); });
}

int LocalDatabaseMgr::GetRecordCount(const char* pszTable, int& iCount) {
  return Guarded([&] { return m_pConnection->Count(pszTable, iCount); });
}

int LocalDatabaseMgr::BeginTransaction() {
  return Guarded([&] { return m_pConnection->Begin(); });
}

int LocalDatabaseMgr::EndTransaction() {
  return Guarded([&] { return m_pConnection->End(); });
}
