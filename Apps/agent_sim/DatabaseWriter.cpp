#include "Apps/agent_sim/DatabaseWriter.h"

#include <sqlite3.h>

#include "Platform/Base/Guard.h"

namespace wevora::agent_sim {
namespace {

using platform::catchAll;
using platform::ScopeExit;

constexpr int kBusyTimeoutMilliseconds = 10'000;

DatabaseValue valueOf(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
      return sqlite3_column_int64(statement, column);
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, column);
    case SQLITE_NULL:
      return nullptr;
    default: {
      const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
      const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
      return bytes == nullptr ? std::string() : std::string(bytes, size);
    }
  }
}

}  // namespace

void DatabaseWriter::Close::operator()(sqlite3* handle) const noexcept {
  sqlite3_close_v2(handle);
}
void DatabaseWriter::Finalize::operator()(sqlite3_stmt* statement) const noexcept {
  sqlite3_finalize(statement);
}

DatabaseWriter::DatabaseWriter(const std::string& path, Mode mode) : path_(path) {
  sqlite3* handle = nullptr;
  const int create = mode == Mode::createIfMissing ? SQLITE_OPEN_CREATE : 0;
  const int code = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | create, nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) fail("open");
  sqlite3_busy_timeout(handle, kBusyTimeoutMilliseconds);
}

DatabaseWriter::~DatabaseWriter() = default;

void DatabaseWriter::fail(std::string_view what) const {
  throw DatabaseFailure("cannot " + std::string(what) + " '" + path_ +
                        "': " + sqlite3_errmsg(handle_.get()));
}

sqlite3_stmt& DatabaseWriter::prepared(std::string_view sql) {
  for (const auto& [text, statement] : prepared_)
    if (text == sql) return *statement;
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v3(handle_.get(), sql.data(), static_cast<int>(sql.size()),
                         SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK)
    fail("prepare a statement for");
  prepared_.emplace_back(std::string(sql), Prepared(statement));
  return *statement;
}

void DatabaseWriter::bind(sqlite3_stmt& statement, const std::vector<DatabaseValue>& values) const {
  int position = 0;
  for (const auto& value : values) {
    ++position;
    int code = SQLITE_OK;
    if (const auto* text = std::get_if<std::string>(&value))
      code = sqlite3_bind_text64(&statement, position, text->data(), text->size(), SQLITE_TRANSIENT,
                                 SQLITE_UTF8);
    else if (const auto* integer = std::get_if<std::int64_t>(&value))
      code = sqlite3_bind_int64(&statement, position, *integer);
    else if (const auto* real = std::get_if<double>(&value))
      code = sqlite3_bind_double(&statement, position, *real);
    else
      code = sqlite3_bind_null(&statement, position);
    if (code != SQLITE_OK) fail("bind a value for");
  }
}

std::vector<DatabaseWriter::Row> DatabaseWriter::run(std::string_view sql,
                                                     const std::vector<DatabaseValue>& values) {
  sqlite3_stmt& statement = prepared(sql);
  const ScopeExit reset([&] {
    sqlite3_reset(&statement);
    sqlite3_clear_bindings(&statement);
  });
  bind(statement, values);
  std::vector<Row> rows;
  for (;;) {
    const int code = sqlite3_step(&statement);
    if (code == SQLITE_DONE) return rows;
    if (code != SQLITE_ROW) fail("read or write");
    Row& row = rows.emplace_back();
    for (int i = 0; i < sqlite3_column_count(&statement); ++i)
      row.push_back(valueOf(&statement, i));
  }
}

void DatabaseWriter::runScript(const std::string& sql) {
  if (sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
    fail("run a script on");
}

std::int64_t DatabaseWriter::changes() const {
  return sqlite3_changes64(handle_.get());
}

DatabaseWriter::Transaction::Transaction(DatabaseWriter& writer) : writer_(writer) {
  writer_.run("BEGIN IMMEDIATE");
}
DatabaseWriter::Transaction::~Transaction() {
  if (open_) catchAll([this] { writer_.run("ROLLBACK"); });
}
void DatabaseWriter::Transaction::commit() {
  writer_.run("COMMIT");
  open_ = false;
}

}  // namespace wevora::agent_sim
