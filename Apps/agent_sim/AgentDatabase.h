#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Apps/agent_sim/DatabaseWriter.h"
#include "Apps/agent_sim/RowScan.h"
#include "Platform/Base/Clock.h"

namespace wevora::agent_sim {

/// Something that a person can mend, in one line.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Where the sync database of a volume and an account lies, by the volume's file system.
std::string databasePath(const std::string& mountPoint, const std::string& account);

/// What a rule names a folder by: its place below the mount point. The folder is absolute or
/// relative to the volume. Throws Failure when it is no folder, or not one of the volume.
std::string folderOfRule(const std::string& mountPoint, const std::string& folder);

/// The agent's side of one volume's sync database: it makes the database, keeps it in step with
/// what is on the volume, and marks what is backed up. Paths are absolute.
/// Threads: one. Owns: the open database.
/// Errors: throws Failure, or DatabaseFailure; a call that throws has changed nothing.
class AgentDatabase {
 public:
  enum class Mode { mustExist, createIfMissing };

  /// The mount point is given without a trailing separator, or as "/".
  AgentDatabase(const std::string& path, std::string mountPoint, const platform::Clock& clock,
                Mode mode);

  /// Adds the rules that are not there yet; answers how many were added.
  int addRules(const std::vector<std::string>& included, const std::vector<std::string>& excluded);

  struct ScanResult {
    std::int64_t items = 0;
    std::int64_t added = 0;
    std::int64_t changed = 0;
    std::int64_t gone = 0;
  };
  /// Brings the rows in step with the volume. What cannot be read is reported, and its rows stay.
  ScanResult scan(const std::function<void(const std::string&)>& warn);

  /// Marks items, folders with all below them, as backed up or as waiting; answers how many.
  std::int64_t mark(const std::vector<std::string>& paths, bool synchronized);

  /// Marks that are undone when destroyed before `commit`, so that the marks of several databases
  /// are kept or dropped together.
  struct OpenMarks {
    std::int64_t items = 0;
    std::unique_ptr<agent_sim::DatabaseWriter::Transaction> transaction;
  };
  /// As `mark`, but left to the caller to commit. The database must outlive the answer.
  OpenMarks openMarks(const std::vector<std::string>& paths, bool synchronized);

  /// Changes that are made while others read: written in small batches, so that nobody waits long.
  /// Undone when destroyed before `commit`, but for the batches that are written by then.
  class Updates {
   public:
    /// The database must outlive it.
    Updates(AgentDatabase& database, RowScan::Warn warn);
    Updates(const Updates&) = delete;
    Updates& operator=(const Updates&) = delete;

    /// Brings the rows of the items right in a folder in step, all of them or those of some names.
    /// None where the folder is not there, has no row, or is of another volume.
    std::optional<std::vector<ScannedItem>> scanFolder(const std::string& path,
                                                       const RowScan::Names* names = nullptr);
    /// Marks an item as backed up; false where it is not, or not any more, what its row says.
    bool synchronize(const std::string& path);
    /// Must be the last.
    void commit();

   private:
    static constexpr int kItemsInBatch = 500;
    void step();

    AgentDatabase& database_;
    std::unique_ptr<agent_sim::DatabaseWriter::Transaction> transaction_;
    RowScan rows_;
    int steps_ = 0;
  };

 private:
  void createTables();
  int addRule(const std::string& folder, bool exclude);
  void noteScan();
  /// None for what has no row.
  std::optional<std::string> knownIdentifierOf(const std::string& path);
  std::string identifierOf(const std::string& path);
  std::int64_t markBelow(const std::string& identifier, const agent_sim::DatabaseValue& date);

  std::string mountPoint_;
  const platform::Clock& clock_;
  agent_sim::DatabaseWriter writer_;
};

}  // namespace wevora::agent_sim
