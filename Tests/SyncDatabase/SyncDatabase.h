#pragma once

#include <optional>
#include <string>

#include "Apps/agent_sim/DatabaseWriter.h"

namespace wevora::testing_host {

/// Writes a sync database with the agent's schema.
/// Errors: throws DatabaseFailure.
class SyncDatabase {
 public:
  static constexpr const char* kTop = "00000000-0000-0000-0000-000000000000";
  static constexpr const char* kSynchronized = "2026-01-01 00:00:00.0000000";
  using Text = std::optional<std::string>;

  explicit SyncDatabase(const std::string& path)
      : writer(path, agent_sim::DatabaseWriter::Mode::createIfMissing) {
    writer.runScript(
        "PRAGMA synchronous=OFF;"
        "CREATE TABLE IF NOT EXISTS file(file_id TEXT, parent_id TEXT, is_folder INT, name_short "
        "TEXT,"
        " name_long TEXT, synchronized TEXT);"
        "CREATE INDEX IF NOT EXISTS file_index ON file(parent_id, name_long);"
        "CREATE TABLE IF NOT EXISTS fscr(fscr_id TEXT, root_folder TEXT, path_filter TEXT, "
        "content_type TEXT,"
        " \"order\" INT, exclude INT, fc TEXT)");
  }

  void addTop() { addRow(kTop, std::nullopt, true, "/", "/", std::nullopt); }
  void addFile(const std::string& id, const std::string& parent, const std::string& name,
               const Text& synchronized = std::nullopt) {
    addRow(id, parent, false, name, name, synchronized);
  }
  void addFolder(const std::string& id, const std::string& parent, const std::string& name,
                 const Text& synchronized = std::nullopt) {
    addRow(id, parent, true, name, name, synchronized);
  }
  void addRow(const Text& id, const Text& parent, bool isFolder, const Text& nameShort,
              const std::string& nameLong, const Text& synchronized) {
    writer.run("INSERT INTO file VALUES(?, ?, ?, ?, ?, ?)",
               {value(id), value(parent), std::int64_t{isFolder}, value(nameShort), nameLong,
                value(synchronized)});
  }
  void addRule(const std::string& rootFolder, bool exclude = false) {
    writer.run("INSERT INTO fscr VALUES(?, ?, 'filter', 'type', 7, ?, 'fc')",
               {"rule " + rootFolder, rootFolder, std::int64_t{exclude}});
  }
  void setSynchronized(const std::string& id, const Text& synchronized) {
    writer.run("UPDATE file SET synchronized=? WHERE file_id=?", {value(synchronized), id});
  }
  void removeRow(const std::string& id) { writer.run("DELETE FROM file WHERE file_id=?", {id}); }

  agent_sim::DatabaseWriter writer;

 private:
  static agent_sim::DatabaseValue value(const Text& text) {
    return text ? agent_sim::DatabaseValue(*text) : agent_sim::DatabaseValue(nullptr);
  }
};

}  // namespace wevora::testing_host
