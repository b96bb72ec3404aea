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

/// An error that the caller of the program can fix, in one line.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The path of an account's sync database on a volume; it depends on the file system.
std::string databasePath(const std::string& mountPoint, const std::string& account);

/// Returns the path below the mount point by which a rule names a folder. `folder` is absolute or
/// relative to the volume. Throws Failure when it is not a folder of the volume.
std::string folderOfRule(const std::string& mountPoint, const std::string& folder);

/// The agent's side of one volume's sync database: creates it, synchronizes it with the volume, and
/// marks items as backed up. Paths are absolute.
/// Errors: throws Failure or DatabaseFailure; a call that throws changes nothing.
class AgentDatabase {
 public:
  enum class Mode { mustExist, createIfMissing };

  /// `mountPoint` has no trailing separator unless it is "/".
  AgentDatabase(const std::string& path, std::string mountPoint, const platform::Clock& clock,
                Mode mode);

  /// Adds missing rules; returns how many were added.
  int addRules(const std::vector<std::string>& included, const std::vector<std::string>& excluded);

  struct ScanResult {
    std::int64_t items = 0;
    std::int64_t added = 0;
    std::int64_t changed = 0;
    std::int64_t gone = 0;
  };
  /// Synchronizes the rows with the volume. Unreadable items are reported and keep their rows.
  ScanResult scan(const std::function<void(const std::string&)>& warn);

  /// Marks items, folders recursively, as backed up or as pending; returns how many.
  std::int64_t mark(const std::vector<std::string>& paths, bool synchronized);

  /// Uncommitted marks, so that the marks of several databases can be committed together.
  struct OpenMarks {
    std::int64_t items = 0;
    std::unique_ptr<DatabaseWriter::Transaction> transaction;
  };
  /// Like `mark`, but the caller commits. The database must outlive the result.
  OpenMarks openMarks(const std::vector<std::string>& paths, bool synchronized);

  /// Changes while other processes read: written in small transactions, so that readers are not
  /// blocked for long. The destructor rolls back what is not committed yet.
  class Updates {
   public:
    /// The database must outlive it.
    Updates(AgentDatabase& database, RowScan::Warn warn);
    Updates(const Updates&) = delete;
    Updates& operator=(const Updates&) = delete;

    /// Synchronizes the rows of a folder's direct items, or only of those with the given names.
    /// Returns nullopt when the folder is missing, has no row, or is on another volume.
    std::optional<std::vector<ScannedItem>> scanFolder(const std::string& path,
                                                       const RowScan::Names* names = nullptr);
    /// Marks an item as backed up; returns false when it no longer matches its row.
    bool synchronize(const std::string& path);
    /// Must be the last call.
    void commit();

   private:
    static constexpr int kItemsInTransaction = 500;
    void step();

    AgentDatabase& database_;
    std::unique_ptr<DatabaseWriter::Transaction> transaction_;
    RowScan rows_;
    int steps_ = 0;
  };

 private:
  void createTables();
  int addRule(const std::string& folder, bool exclude);
  void recordScan();
  /// Returns nullopt for an item without a row.
  std::optional<std::string> knownIdentifierOf(const std::string& path);
  std::string identifierOf(const std::string& path);
  std::int64_t markBelow(const std::string& identifier, const DatabaseValue& date);

  std::string mountPoint_;
  const platform::Clock& clock_;
  DatabaseWriter writer_;
};

}  // namespace wevora::agent_sim
