// Names of tables and columns, and the statements made of them.
#include "LocalDatabaseNames.h"

#include <strings.h>
#include <algorithm>
#include <limits>

namespace database_names {

namespace {

constexpr std::size_t kMaxName = 64;
const char kEnginePrefix[] = "sqlite_";

bool IsWord(std::string_view name) {
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; };
  const auto isPart = [&](char c) { return isLetter(c) || (c >= '0' && c <= '9'); };
  return !name.empty() && name.size() <= kMaxName && isLetter(name[0]) && std::all_of(name.begin(), name.end(), isPart);
}

bool StartsWith(std::string_view name, std::string_view start) {
  return name.size() >= start.size() && strncasecmp(name.data(), start.data(), start.size()) == 0;
}

std::string Quoted(const std::string& name) { return '"' + name + '"'; }

std::string QuotedList(const Names& names) {
  std::string list;
  for (const std::string& name : names) {
    list += ", " + Quoted(name);
  }
  return list;
}

}  // namespace

const char kKey[] = "ROWINDEX";

bool IsTableName(std::string_view name) { return IsWord(name) && !StartsWith(name, kEnginePrefix); }

bool IsColumnName(std::string_view name) {
  return IsWord(name) && !(StartsWith(name, kKey) && name.size() == sizeof kKey - 1);
}

bool AreColumnNames(const Names& names) {
  Names seen;
  for (const std::string& name : names) {
    if (!IsColumnName(name) || Contains(seen, name)) {
      return false;
    }
    seen.push_back(name);
  }
  return !names.empty();
}

bool Contains(const Names& names, const std::string& name) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& other) { return strcasecmp(name.c_str(), other.c_str()) == 0; });
}

bool AreThoseOf(const Names& names, const LocalDatabaseMgr::FieldType& fields) {
  return std::equal(names.begin(), names.end(), fields.begin(), fields.end(),
                    [](const std::string& name, const __ST_FIELD_TYPE& field) { return name == field.strFieldName; });
}

Names NamesOf(const LocalDatabaseMgr::FieldType& fields) {
  Names names;
  for (const __ST_FIELD_TYPE& field : fields) {
    names.push_back(field.strFieldName);
  }
  return names;
}

// Keys are never used twice, not even that of the newest row: a stale index must not hit a new message. They stay
// within int, as which they travel.
std::string CreateText(const std::string& table, const Names& names) {
  std::string text = "CREATE TABLE " + Quoted(table) + " (" + kKey + " INTEGER PRIMARY KEY AUTOINCREMENT CHECK (" +
                     kKey + " <= " + std::to_string(std::numeric_limits<int>::max()) + ")";
  for (const std::string& name : names) {
    text += ", " + Quoted(name) + " TEXT";
  }
  return text + ")";
}

std::string AddColumnText(const std::string& table, const std::string& name) {
  return "ALTER TABLE " + Quoted(table) + " ADD COLUMN " + Quoted(name) + " TEXT";
}

std::string InsertText(const std::string& table, const Names& names) {
  std::string places = "NULL";
  for (std::size_t i = 0; i < names.size(); ++i) {
    places += ", ?";
  }
  return "INSERT INTO " + Quoted(table) + " (" + kKey + QuotedList(names) + ") VALUES (" + places + ")";
}

std::string UpdateText(const std::string& table, const Names& names) {
  std::string values;
  for (const std::string& name : names) {
    values += (values.empty() ? "" : ", ") + Quoted(name) + " = ?";
  }
  return "UPDATE " + Quoted(table) + " SET " + values + " WHERE " + kKey + " = ?";
}

std::string DeleteText(const std::string& table) { return "DELETE FROM " + Quoted(table) + " WHERE " + kKey + " = ?"; }

std::string SelectText(const std::string& table, const Names& names, const char* pszRest) {
  return std::string("SELECT ") + kKey + QuotedList(names) + " FROM " + Quoted(table) + pszRest;
}

}  // namespace database_names
