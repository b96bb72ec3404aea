#include "Benchmarks/BareSqlite.h"

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include <benchmark/benchmark.h>

namespace wevora::benchmarks {
namespace {

// The positions of the columns in the table that the volume's database has.
enum Column { kFileID = 0, kParentID = 1, kIsFolder = 3, kNameShort = 4, kSynchronized = 6 };

constexpr const char* kNil = "00000000-0000-0000-0000-000000000000";

std::string_view textOf(sqlite3_stmt* statement, int column) {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  if (bytes == nullptr) return {};
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
}

int number(std::string_view text, std::size_t at, std::size_t digits) {
  int value = 0;
  for (std::size_t i = at; i < at + digits; ++i) value = value * 10 + (text[i] - '0');
  return value;
}

/// Seconds since 1970 of "yyyy-MM-dd HH:mm:ss.fffffff", which is taken for granted.
double dateOf(std::string_view text) {
  const std::chrono::year_month_day day{
      std::chrono::year(number(text, 0, 4)),
      std::chrono::month(static_cast<unsigned>(number(text, 5, 2))),
      std::chrono::day(static_cast<unsigned>(number(text, 8, 2)))};
  const auto days = static_cast<double>(std::chrono::sys_days(day).time_since_epoch().count());
  const int seconds = (number(text, 11, 2) * 60 + number(text, 14, 2)) * 60 + number(text, 17, 2);
  return days * 86400.0 + seconds + number(text, 20, 7) / 1e7;
}

}  // namespace

BareSqlite::BareSqlite(const std::string& path) {
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) throw std::runtime_error("cannot open " + path);
  walk_ = prepare("SELECT * FROM file WHERE parent_id=? AND name_long=?");
}

BareSqlite::Prepared BareSqlite::prepare(const std::string& sql) const {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(handle_.get(), sql.data(), static_cast<int>(sql.size()), &statement,
                         nullptr) != SQLITE_OK)
    throw std::runtime_error("cannot prepare " + sql);
  return Prepared(statement);
}

void BareSqlite::readFolder(const std::string& folderID, BareStatuses& statuses) {
  const auto prepared = prepare("SELECT * FROM file WHERE parent_id='" + folderID + "' ");
  sqlite3_stmt* rows = prepared.get();
  while (sqlite3_step(rows) == SQLITE_ROW) {
    benchmark::DoNotOptimize(textOf(rows, kFileID));
    benchmark::DoNotOptimize(textOf(rows, kParentID));
    const bool isFolder = sqlite3_column_int(rows, kIsFolder) != 0;
    const auto name = textOf(rows, kNameShort);
    double date = 0;
    if (sqlite3_column_type(rows, kSynchronized) == SQLITE_TEXT)
      date = dateOf(textOf(rows, kSynchronized));
    statuses.insert_or_assign(std::string(name), BareStatus{isFolder    ? "red"
                                                            : date != 0 ? "green"
                                                                        : "blue",
                                                            date});
  }
}

std::string BareSqlite::walk(std::string_view relativePath) {
  std::string parent = kNil;
  std::string_view component = "/";
  std::string_view rest = relativePath.substr(1);
  sqlite3_stmt* rows = walk_.get();
  for (;;) {
    sqlite3_bind_text(rows, 1, parent.data(), static_cast<int>(parent.size()), SQLITE_STATIC);
    sqlite3_bind_text(rows, 2, component.data(), static_cast<int>(component.size()), SQLITE_STATIC);
    std::string found;
    while (sqlite3_step(rows) == SQLITE_ROW) found = textOf(rows, kFileID);
    sqlite3_reset(rows);
    if (!found.empty()) parent = std::move(found);
    if (rest.empty()) return parent;
    component = rest.substr(0, rest.find('/'));
    rest.remove_prefix(std::min(rest.size(), component.size() + 1));
  }
}

}  // namespace wevora::benchmarks
