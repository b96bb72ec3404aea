#pragma once

#include <chrono>

#include "Platform/Base/Clock.h"
#include "Platform/Database/Database.h"

namespace wevora::platform {

/// What a database may cost at most.
struct DatabaseLimits {
  std::chrono::milliseconds busyTimeout{2000};  ///< waiting for a writer
  std::chrono::seconds queryTime{5};            ///< from a query's first step to its end
  int rowBytes = 1 << 20;                       ///< one text, blob or row
  std::int64_t queryRows = 1'000'000;           ///< rows that one query answers
  std::int64_t queryTextBytes = 256 << 20;      ///< text that one query hands out
};

/// Databases in SQLite 3.
/// Threads: any. Owns: nothing; the clock must outlive its databases. Errors: none.
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
