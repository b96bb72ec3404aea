#include "Platform/Database/SqliteDatabases.h"

#include <sys/stat.h>
#include <utility>
#include <vector>

#include <sqlite3.h>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {
namespace {

struct CloseHandle {
  void operator()(sqlite3* handle) const noexcept { sqlite3_close_v2(handle); }
};
struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};
using Handle = std::unique_ptr<sqlite3, CloseHandle>;
using Prepared = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

void report(DatabaseErrorOut error, int code, std::string message) {
  if (error != nullptr) *error = DatabaseError{code, std::move(message)};
}

/// An open database handle, shared by the database and its statements, with a cache of idle
/// prepared statements. Thread-safety: any thread.
class Connection {
 public:
  Connection(const Clock& clock, const DatabaseLimits& limits) : clock_(clock), limits_(limits) {}
  ~Connection() {
    const MutexLock lock(mutex_);
    idle_.clear();
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  int open(const std::string& path);
  Prepared prepare(std::string_view sql, bool reusable, DatabaseErrorOut error);
  void takeBack(std::string sql, Prepared prepared);
  int step(sqlite3_stmt* statement, std::chrono::nanoseconds deadline, DatabaseErrorOut error);

  std::chrono::nanoseconds deadlineFromNow() const { return clock_.uptime() + limits_.queryTime; }
  const DatabaseLimits& limits() const { return limits_; }

 private:
  /// Locks the handle's own recursive mutex, so that the deadline and the error message belong to
  /// one call.
  class Serialized {
   public:
    explicit Serialized(sqlite3* handle) : mutex_(sqlite3_db_mutex(handle)) {
      sqlite3_mutex_enter(mutex_);
    }
    ~Serialized() { sqlite3_mutex_leave(mutex_); }
    Serialized(const Serialized&) = delete;
    Serialized& operator=(const Serialized&) = delete;

   private:
    sqlite3_mutex* mutex_;
  };

  static constexpr std::size_t kMaxIdle = 4;
  static constexpr int kOperationsBetweenChecks = 2000;

  static int isPastDeadline(void* self) noexcept {
    const auto* connection = static_cast<Connection*>(self);
    return connection->clock_.uptime() > connection->deadline_ ? 1 : 0;
  }
  void harden();

  const Clock& clock_;
  const DatabaseLimits limits_;
  Handle handle_;
  std::chrono::nanoseconds deadline_{};  // of the current call; guarded by Serialized
  Mutex mutex_;
  std::vector<std::pair<std::string, Prepared>> idle_ GUARDED_BY(mutex_);
};

int Connection::open(const std::string& path) {
  // Opening a pipe could block forever; opening a device could have side effects.
  struct stat facts {};
  if (::stat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) return SQLITE_CANTOPEN;
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(
      path.c_str(), &handle,
      SQLITE_OPEN_READONLY | SQLITE_OPEN_FULLMUTEX | SQLITE_OPEN_PRIVATECACHE, nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) {
    handle_.reset();
    return code;
  }
  harden();
  return SQLITE_OK;
}

void Connection::harden() {
  sqlite3* handle = handle_.get();
  sqlite3_extended_result_codes(handle, 1);
  sqlite3_busy_timeout(handle, static_cast<int>(limits_.busyTimeout.count()));
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, limits_.rowBytes);
  sqlite3_limit(handle, SQLITE_LIMIT_SQL_LENGTH, 1 << 16);
  sqlite3_limit(handle, SQLITE_LIMIT_COLUMN, 256);
  sqlite3_limit(handle, SQLITE_LIMIT_EXPR_DEPTH, 100);
  sqlite3_limit(handle, SQLITE_LIMIT_COMPOUND_SELECT, 16);
  sqlite3_limit(handle, SQLITE_LIMIT_VDBE_OP, 25000);
  sqlite3_limit(handle, SQLITE_LIMIT_ATTACHED, 0);
  sqlite3_limit(handle, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 256);
  sqlite3_limit(handle, SQLITE_LIMIT_WORKER_THREADS, 0);
  sqlite3_exec(handle, "PRAGMA cell_size_check=ON; PRAGMA mmap_size=0; PRAGMA query_only=ON;",
               nullptr, nullptr, nullptr);
  sqlite3_progress_handler(handle, kOperationsBetweenChecks, &Connection::isPastDeadline, this);
}

Prepared Connection::prepare(std::string_view sql, bool reusable, DatabaseErrorOut error) {
  if (!handle_) {
    report(error, SQLITE_CANTOPEN, "the database is not open");
    return nullptr;
  }
  if (reusable) {
    const MutexLock lock(mutex_);
    for (auto& [text, prepared] : idle_)
      if (text == sql) {
        Prepared taken = std::move(prepared);
        std::swap(idle_.back().first, text);
        std::swap(idle_.back().second, prepared);
        idle_.pop_back();
        return taken;
      }
  }
  const Serialized serialized(handle_.get());
  deadline_ = deadlineFromNow();  // preparing reads the schema, which may be slow
  sqlite3_stmt* statement = nullptr;
  const int code =
      sqlite3_prepare_v3(handle_.get(), sql.data(), static_cast<int>(sql.size()),
                         reusable ? SQLITE_PREPARE_PERSISTENT : 0, &statement, nullptr);
  Prepared prepared(statement);
  if (code != SQLITE_OK) {
    report(error, code, sqlite3_errmsg(handle_.get()));
    return nullptr;
  }
  if (!prepared) report(error, SQLITE_ERROR, "the SQL statement is empty");
  return prepared;
}

void Connection::takeBack(std::string sql, Prepared prepared) {
  sqlite3_reset(prepared.get());
  sqlite3_clear_bindings(prepared.get());
  const MutexLock lock(mutex_);
  if (idle_.size() < kMaxIdle) idle_.emplace_back(std::move(sql), std::move(prepared));
}

int Connection::step(sqlite3_stmt* statement, std::chrono::nanoseconds deadline,
                     DatabaseErrorOut error) {
  const Serialized serialized(handle_.get());
  deadline_ = deadline;
  const int code = sqlite3_step(statement);
  if (code != SQLITE_ROW && code != SQLITE_DONE) report(error, code, sqlite3_errmsg(handle_.get()));
  return code;
}

/// Ownership: owns the prepared query of `executeQuery`; otherwise the statement owns it.
class SqliteResultSet : public ResultSet {
 public:
  SqliteResultSet(std::shared_ptr<Connection> connection, sqlite3_stmt* running, Prepared owned)
      : connection_(std::move(connection)), owned_(std::move(owned)), running_(running) {}
  ~SqliteResultSet() override { SqliteResultSet::close(); }
  SqliteResultSet(const SqliteResultSet&) = delete;
  SqliteResultSet& operator=(const SqliteResultSet&) = delete;

  Step next(DatabaseErrorOut error) override {
    if (running_ == nullptr) return Step::done;
    if (rows_ == 0) deadline_ = connection_->deadlineFromNow();
    if (++rows_ > connection_->limits().queryRows ||
        textBytes_ > connection_->limits().queryTextBytes) {
      report(error, SQLITE_TOOBIG, "the query exceeds its limit of rows or bytes");
      return Step::error;
    }
    const int code = connection_->step(running_, deadline_, error);
    if (code == SQLITE_ROW) return Step::row;
    return code == SQLITE_DONE ? Step::done : Step::error;
  }

  std::optional<int> column(std::string_view name) const override {
    const int count = running_ == nullptr ? 0 : sqlite3_column_count(running_);
    for (int i = 0; i < count; ++i) {
      const char* found = sqlite3_column_name(running_, i);
      if (found != nullptr && found == name) return i;
    }
    return std::nullopt;
  }

  bool isNull(int column) const override {
    return sqlite3_column_type(running_, column) == SQLITE_NULL;
  }

  std::optional<std::string_view> text(int column) override {
    const auto* bytes = sqlite3_column_text(running_, column);
    if (bytes == nullptr) return std::nullopt;
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(running_, column));
    textBytes_ += static_cast<std::int64_t>(size);
    return std::string_view(reinterpret_cast<const char*>(bytes), size);
  }

  std::optional<std::string_view> valueIfText(int column) override {
    if (sqlite3_column_type(running_, column) != SQLITE_TEXT) return std::nullopt;
    return text(column);
  }

  bool boolean(int column) const override { return sqlite3_column_int(running_, column) != 0; }
  std::int32_t int32(int column) const override { return sqlite3_column_int(running_, column); }

  void close() override {
    if (running_ == nullptr) return;
    sqlite3_reset(running_);
    running_ = nullptr;
    owned_.reset();
  }

 private:
  const std::shared_ptr<Connection> connection_;
  Prepared owned_;
  sqlite3_stmt* running_;
  std::chrono::nanoseconds deadline_{};
  std::int64_t rows_ = 0;
  std::int64_t textBytes_ = 0;
};

class SqliteStatement : public Statement {
 public:
  SqliteStatement(std::shared_ptr<Connection> connection, std::string_view sql, Prepared prepared)
      : connection_(std::move(connection)), sql_(sql), prepared_(std::move(prepared)) {}
  ~SqliteStatement() override { SqliteStatement::close(); }
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  std::unique_ptr<ResultSet> executeQuery(std::span<const std::string_view> parameters,
                                          DatabaseErrorOut error) override {
    if (!prepared_) {
      report(error, SQLITE_MISUSE, "the statement is closed");
      return nullptr;
    }
    int position = 0;
    for (const auto parameter : parameters) {
      // SQLITE_STATIC: the caller guarantees that the text outlives the result set.
      const int code = sqlite3_bind_text64(prepared_.get(), ++position, parameter.data(),
                                           parameter.size(), SQLITE_STATIC, SQLITE_UTF8);
      if (code != SQLITE_OK) {
        report(error, code, "cannot bind parameter " + std::to_string(position));
        return nullptr;
      }
    }
    return std::make_unique<SqliteResultSet>(connection_, prepared_.get(), nullptr);
  }

  void close() override {
    if (prepared_) connection_->takeBack(std::move(sql_), std::move(prepared_));
  }

 private:
  const std::shared_ptr<Connection> connection_;
  std::string sql_;
  Prepared prepared_;
};

class SqliteDatabase : public Database {
 public:
  SqliteDatabase(const Clock& clock, const DatabaseLimits& limits, std::string path)
      : clock_(clock), limits_(limits), path_(std::move(path)) {}

  bool open(DatabaseErrorOut error) override {
    auto connection = std::make_shared<Connection>(clock_, limits_);
    const int code = connection->open(path_);
    if (code != SQLITE_OK) {
      report(error, code, sqlite3_errstr(code));
      return false;
    }
    const MutexLock lock(mutex_);
    connection_ = std::move(connection);
    return true;
  }

  void close() override {
    std::shared_ptr<Connection> closed;
    const MutexLock lock(mutex_);
    closed.swap(connection_);
  }

  std::unique_ptr<Statement> prepare(std::string_view sql, DatabaseErrorOut error) override {
    const auto connection = opened(error);
    if (!connection) return nullptr;
    auto prepared = connection->prepare(sql, true, error);
    if (!prepared) return nullptr;
    return std::make_unique<SqliteStatement>(connection, sql, std::move(prepared));
  }

  std::unique_ptr<ResultSet> executeQuery(std::string_view sql, DatabaseErrorOut error) override {
    const auto connection = opened(error);
    if (!connection) return nullptr;
    auto prepared = connection->prepare(sql, false, error);
    if (!prepared) return nullptr;
    auto* running = prepared.get();
    return std::make_unique<SqliteResultSet>(connection, running, std::move(prepared));
  }

 private:
  std::shared_ptr<Connection> opened(DatabaseErrorOut error) {
    const MutexLock lock(mutex_);
    if (!connection_) report(error, SQLITE_CANTOPEN, "the database is not open");
    return connection_;
  }

  const Clock& clock_;
  const DatabaseLimits limits_;
  const std::string path_;
  Mutex mutex_;
  std::shared_ptr<Connection> connection_ GUARDED_BY(mutex_);
};

}  // namespace

std::shared_ptr<Database> SqliteDatabases::databaseWithPath(const std::string& path) {
  return std::make_shared<SqliteDatabase>(clock_, limits_, path);
}

}  // namespace wevora::platform
