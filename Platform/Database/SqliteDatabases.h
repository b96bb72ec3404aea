#pragma once

#include <chrono>

#include "Platform/Base/Clock.h"
#include "Platform/Database/Database.h"

namespace wevora::platform {

/// Resource limits of a database.
struct DatabaseLimits {
  std::chrono::milliseconds busyTimeout{2000};  ///< waiting for a writer
  std::chrono::seconds queryTime{5};            ///< from a query's first step to its end
  int rowBytes = 1 << 20;                       ///< one text, blob or row
  std::int64_t queryRows = 1'000'000;           ///< rows returned by one query
  std::int64_t queryTextBytes = 256 << 20;      ///< text returned by one query
};

/// SQLite 3 databases, hardened against malicious files: only regular files are opened, read-only
/// and in defensive mode with an untrusted schema and no memory map; a progress handler interrupts
/// a query that exceeds its time limit. Ownership: the clock must outlive the databases.
class SqliteDatabases : public Databases {
 public:
  explicit SqliteDatabases(const Clock& clock, DatabaseLimits limits = {})
      : clock_(clock), limits_(limits) {}
  std::shared_ptr<Database> databaseWithPath(const std::string& path) override;

 private:
  const Clock& clock_;
  DatabaseLimits limits_;
};

}  // namespace wevora::platform
