#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include <sqlite3.h>

namespace wevora::benchmarks {

/// A text as it is kept without any of the engine's classes.
struct BareStatus {
  std::string word;
  double date = 0;
};
using BareStatuses = std::unordered_map<std::string, BareStatus>;

/// The least that SQLite itself has to do for the engine's two questions: what the engine is
/// measured against.
/// Threads: one. Owns: the open database. Errors: throws.
class BareSqlite {
 public:
  explicit BareSqlite(const std::string& path);

  /// Runs the statement of a folder's refresh, reads the same five columns and fills the map.
  void readFolder(const std::string& folderID, BareStatuses& statuses);
  /// Runs the statement of a path's walk once for each component; the last one's identifier.
  std::string walk(std::string_view relativePath);

 private:
  struct Close {
    void operator()(sqlite3* handle) const noexcept { sqlite3_close_v2(handle); }
  };
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };
  using Prepared = std::unique_ptr<sqlite3_stmt, Finalize>;
  Prepared prepare(const std::string& sql) const;

  std::unique_ptr<sqlite3, Close> handle_;
  Prepared walk_;
};

}  // namespace wevora::benchmarks
