#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace wevora::platform {

/// Why a database call failed.
struct DatabaseError {
  int code = 0;
  std::string message;
};

/// The output parameter for a call's error; may be null to ignore the error.
using DatabaseErrorOut = std::optional<DatabaseError>*;

/// The rows of a running query, one at a time.
/// Thread-safety: one thread at a time.
/// Errors: reported by `next`; reading a column never fails (SQLite converts between types).
class ResultSet {
 public:
  enum class Step { done, row, error };

  virtual ~ResultSet() = default;
  /// Moves to the next row.
  virtual Step next(DatabaseErrorOut error) = 0;
  /// The index of a column; nullopt if there is no such column. A linear search: call it once per
  /// result set, not once per row.
  virtual std::optional<int> column(std::string_view name) const = 0;

  virtual bool isNull(int column) const = 0;
  /// nullopt for NULL. Valid until the next step.
  virtual std::optional<std::string_view> text(int column) = 0;
  /// The value if it is stored as text, nullopt for any other type. Valid until the next step.
  virtual std::optional<std::string_view> valueIfText(int column) = 0;
  virtual bool boolean(int column) const = 0;
  virtual std::int32_t int32(int column) const = 0;
  virtual void close() = 0;
};

/// A prepared query that can be executed repeatedly with other parameters.
/// Thread-safety: one thread at a time.
/// Ownership: must outlive its result sets.
class Statement {
 public:
  virtual ~Statement() = default;
  /// Binds the parameters in order and starts the query. They are not copied and must outlive the
  /// result set; the result set of an earlier execution must be closed. Null on an error.
  virtual std::unique_ptr<ResultSet> executeQuery(std::span<const std::string_view> parameters,
                                                  DatabaseErrorOut error) = 0;
  virtual void close() = 0;
};

/// A read-only database.
///
/// The file is treated as hostile input: every call ends with rows or an error, within bounded time
/// and memory.
///
/// Thread-safety: any thread; calls on one database are serialized.
/// Errors: every call on a database that is not open fails.
class Database {
 public:
  virtual ~Database() = default;
  virtual bool open(DatabaseErrorOut error) = 0;
  virtual void close() = 0;
  /// Null on an error. Prepared queries are cached by their text, so the text should be constant.
  virtual std::unique_ptr<Statement> prepare(std::string_view sql, DatabaseErrorOut error) = 0;
  /// Executes a query once, without caching it. Null on an error.
  virtual std::unique_ptr<ResultSet> executeQuery(std::string_view sql, DatabaseErrorOut error) = 0;
};

/// Creates databases.
/// Thread-safety: any thread.
class Databases {
 public:
  virtual ~Databases() = default;
  /// A database that is not open yet; the file is not accessed before `open`.
  virtual std::shared_ptr<Database> databaseWithPath(const std::string& path) = 0;
};

}  // namespace wevora::platform
