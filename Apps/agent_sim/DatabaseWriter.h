#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace wevora::agent_sim {

/// A database call that failed, with the reason.
class DatabaseFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A column value.
using DatabaseValue = std::variant<std::nullptr_t, std::int64_t, double, std::string>;

/// An SQLite database that a tool writes; code inside file managers only reads databases.
/// Errors: throws DatabaseFailure.
class DatabaseWriter {
 public:
  enum class Mode { mustExist, createIfMissing };

  DatabaseWriter(const std::string& path, Mode mode);
  ~DatabaseWriter();
  DatabaseWriter(const DatabaseWriter&) = delete;
  DatabaseWriter& operator=(const DatabaseWriter&) = delete;

  using Row = std::vector<DatabaseValue>;
  /// Runs one statement with bound values, and returns its rows.
  std::vector<Row> run(std::string_view sql, const std::vector<DatabaseValue>& values = {});
  /// Runs a script of several statements without values.
  void runScript(const std::string& sql);
  /// The number of rows that the last statement changed.
  std::int64_t changes() const;

  /// The destructor rolls back unless `commit` was called.
  class Transaction {
   public:
    explicit Transaction(DatabaseWriter& writer);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

   private:
    DatabaseWriter& writer_;
    bool open_ = true;
  };

 private:
  struct Close {
    void operator()(sqlite3* handle) const noexcept;
  };
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept;
  };
  using Prepared = std::unique_ptr<sqlite3_stmt, Finalize>;

  sqlite3_stmt& prepared(std::string_view sql);
  void bind(sqlite3_stmt& statement, const std::vector<DatabaseValue>& values) const;
  [[noreturn]] void fail(std::string_view what) const;

  std::string path_;
  std::unique_ptr<sqlite3, Close> handle_;
  std::vector<std::pair<std::string, Prepared>> prepared_;
};

}  // namespace wevora::agent_sim
