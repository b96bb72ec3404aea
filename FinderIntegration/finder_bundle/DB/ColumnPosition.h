#pragma once

#include <string>

#include "Platform/Database/Database.h"

namespace wevora {

/// Finds a required column. Returns false and sets the error if it is missing.
inline bool findColumn(const platform::ResultSet& rows, const char* name, int& position,
                       platform::DatabaseErrorOut error) {
  constexpr int kNoSuchColumn = 1;
  const auto found = rows.column(name);
  if (found) {
    position = *found;
    return true;
  }
  *error = platform::DatabaseError{kNoSuchColumn, std::string("no such column: ") + name};
  return false;
}

}  // namespace wevora
