// Names of tables and columns, and the statements made of them.
#pragma once

#include "platform/LocalDatabaseMgr.h"

#include <string>
#include <string_view>
#include <vector>

namespace database_names {

typedef std::vector<std::string> Names;

/// The column that holds a row's index.
extern const char kKey[];

/// A letter or '_', then letters, digits and '_', at most 64, and none that is kept for the engine or for the key: such
/// a name can stand in a statement without harm.
bool IsTableName(std::string_view name);
bool IsColumnName(std::string_view name);
/// Some column names, none twice (capitals count as small letters here and below, as in the engine).
bool AreColumnNames(const Names& names);

bool Contains(const Names& names, const std::string& name);
bool AreThoseOf(const Names& names, const LocalDatabaseMgr::FieldType& fields);
Names NamesOf(const LocalDatabaseMgr::FieldType& fields);

std::string CreateText(const std::string& table, const Names& names);
std::string AddColumnText(const std::string& table, const std::string& name);
std::string InsertText(const std::string& table, const Names& names);
std::string UpdateText(const std::string& table, const Names& names);  ///< the index is the last place
std::string DeleteText(const std::string& table);
/// The index and the columns.
/// @param pszRest  what follows the table's name.
std::string SelectText(const std::string& table, const Names& names, const char* pszRest);

}  // namespace database_names
