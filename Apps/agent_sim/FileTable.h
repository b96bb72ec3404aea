#pragma once

#include <string>
#include <variant>

#include "Platform/Database/DatabaseWriter.h"
#include "Platform/Time/Date.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/SyncDatabaseSchema.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

// The names and values of the file table, as statements are put together from them.
namespace wevora::agent_sim::file_table {

inline const std::string kFile = kFileTableName;
inline const std::string kID = kFileTableColumnFileID;
inline const std::string kParent = kFileTableColumnParentID;
inline const std::string kName = kFileTableColumnNameLong;
inline const std::string kSynchronized = kFileTableColumnSyncDate;

inline std::string textOf(const platform::DatabaseValue& value) {
  const auto* text = std::get_if<std::string>(&value);
  return text == nullptr ? std::string() : *text;
}

inline platform::DatabaseValue dateValue(const platform::Date& date) {
  auto text = dbFormat(date);
  return text ? platform::DatabaseValue(std::move(*text)) : platform::DatabaseValue(nullptr);
}

}  // namespace wevora::agent_sim::file_table
