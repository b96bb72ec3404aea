#pragma once

#include <string>
#include <variant>

#include "Apps/agent_sim/DatabaseWriter.h"
#include "Platform/Base/Date.h"
#include "Platform/Files/FileStat.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/SyncDatabaseSchema.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

// Names and value conversions of the file table, for building statements.
namespace wevora::agent_sim::file_table {

inline const std::string kFile = kFileTableName;
inline const std::string kID = kFileTableColumnFileID;
inline const std::string kParent = kFileTableColumnParentID;
inline const std::string kName = kFileTableColumnNameLong;
inline const std::string kSynchronized = kFileTableColumnSyncDate;

inline std::string textOf(const DatabaseValue& value) {
  const auto* text = std::get_if<std::string>(&value);
  return text == nullptr ? std::string() : *text;
}

inline DatabaseValue dateValue(const platform::Date& date) {
  auto text = dbFormat(date);
  return text ? DatabaseValue(std::move(*text)) : DatabaseValue(nullptr);
}

/// The modification date as the table stores it; empty for a date that it cannot represent.
inline std::string modifyDateText(const platform::FileStat& status) {
  return dbFormat(platform::modificationDate(status)).value_or("");
}

}  // namespace wevora::agent_sim::file_table
