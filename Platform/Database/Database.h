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

/// Where a call puts its error; a null pointer is allowed and drops it.
using DatabaseErrorOut = std::optional<DatabaseError>*;

/// The rows that a query answers, one at a time.
/// Threads: one at a time. Owns: the running query, until closed or destroyed.
/// Errors: through `next`; reading a column never fails (a wrong type is converted as SQLite does).
class ResultSet {
 public:
  enum class Step { done, row, error };

  virtual ~ResultSet() = default;
  /// Moves to the next row.
  virtual Step next(DatabaseErrorOut error) = 0;
  /// Position of a column, from 0; none where the rows have no such column. To be asked once for
  /// a result set, not once for a row.
  virtual std::optional<int> column(std::string_view name) const = 0;

  virtual bool isNull(int column) const = 0;
  /// None for NULL. Valid until the next step.
  virtual std::optional<std::string_view> text(int column) = 0;
  /// The value if it is stored as text; none for every other type. Valid until the next step.
  virtual std::optional<std::string_view> valueIfText(int column) = 0;
  virtual bool boolean(int column) const = 0;
  virtual std::int32_t int32(int column) const = 0;
  virtual void close() = 0;
};

/// A query that can be run again with other values.
/// Threads: one at a time. Owns: the prepared query; outlives its result sets.
/// Errors: through the out-value.
class Statement {
 public:
  virtual ~Statement() = default;
  /// Binds the texts to the parameters in order and starts the query. The texts must outlive the
  /// result set; a result set of an earlier run must be closed. Null on an error.
  virtual std::unique_ptr<ResultSet> executeQuery(std::span<const std::string_view> parameters,
                                                  DatabaseErrorOut error) = 0;
  virtual void close() = 0;
};

/// One database, only read.
///
/// The file is taken for hostile: whatever it holds, a call ends with rows or an error, within a
/// bounded time and a bounded amount of memory.
///
/// Threads: any, at once; calls on one database are made one after the other.
/// Owns: the open file. Errors: through the out-value; every call on a database that is not open
/// reports one.
class Database {
 public:
  virtual ~Database() = default;
  virtual bool open(DatabaseErrorOut error) = 0;
  virtual void close() = 0;
  /// Null on an error. The text of a prepared query should be a fixed one: it is kept for reuse.
  virtual std::unique_ptr<Statement> prepare(std::string_view sql, DatabaseErrorOut error) = 0;
  /// Runs a query that is used once. Null on an error.
  virtual std::unique_ptr<ResultSet> executeQuery(std::string_view sql, DatabaseErrorOut error) = 0;
};

/// Where databases come from.
/// Threads: any. Owns: nothing. Errors: none; a path that is no database fails to open.
class Databases {
 public:
  virtual ~Databases() = default;
  /// A database that is not open yet. Nothing is read before `open`.
  virtual std::shared_ptr<Database> databaseWithPath(const std::string& path) = 0;
};

}  // namespace wevora::platform
