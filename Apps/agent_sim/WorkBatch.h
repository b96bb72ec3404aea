#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Apps/agent_sim/DirtyFolders.h"
#include "Apps/agent_sim/FolderWatch.h"
#include "Platform/Base/Clock.h"

namespace wevora::agent_sim {

/// A short unit of work on one volume's database, for a worker thread.
struct WorkBatch {
  std::string mountPoint;
  std::string account;
  bool prepare = false;  ///< create the database if it is missing
  std::vector<std::string> synchronize;
  std::vector<DirtyFolder> folders;
};

/// The result of a batch. Paths are absolute.
struct WorkBatchResult {
  struct Event {
    std::string path;
    const char* word;
    bool isFolder;
  };
  struct Waiting {
    std::string path;
    platform::Date date;
  };
  struct Unwatched {
    std::string folder;
    std::error_code reason;
  };

  std::vector<Event> events;
  std::vector<Waiting> waiting;
  std::vector<std::string> foldersBelow;  ///< to be scanned recursively
  std::vector<DirtyFolder> rest;          ///< not scanned: the time slice was used up
  std::vector<Unwatched> unwatched;
  std::vector<std::string> warnings;
  std::size_t items = 0;               ///< scanned items
  std::optional<std::string> failure;  ///< the reason; the batch can be retried
};

/// Creates the database of a mounted volume unless it exists. Throws Failure or DatabaseFailure.
void prepareDatabase(const std::string& mountPoint, const std::string& account,
                     const platform::Clock& clock);

/// Opens the database, and keeps the volume busy, only while it runs.
WorkBatchResult runBatch(const WorkBatch& batch, FolderWatch& watch, const platform::Clock& clock);

}  // namespace wevora::agent_sim
