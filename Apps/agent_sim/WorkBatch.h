#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Apps/agent_sim/DirtyFolders.h"
#include "Apps/agent_sim/FolderWatch.h"
#include "Platform/Base/Clock.h"

namespace wevora::agent_sim {

/// A short piece of work on one volume's database, for a worker thread.
struct WorkBatch {
  std::string mountPoint;
  std::string account;
  bool prepare = false;  ///< the database may not be there yet
  std::vector<std::string> synchronize;
  std::vector<DirtyFolder> folders;
};

/// What came of it. Paths are absolute.
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
  std::vector<std::string> foldersBelow;  ///< to be scanned with all below them
  std::vector<DirtyFolder> rest;          ///< for which there was no time
  std::vector<Unwatched> unwatched;
  std::vector<std::string> warnings;
  std::size_t items = 0;               ///< that were looked at
  std::optional<std::string> failure;  ///< why the work could not be done; nothing is lost by
                                       ///< beginning anew
};

/// Makes the database of a volume that is mounted, where there is none. Throws Failure or
/// DatabaseFailure.
void prepareDatabase(const std::string& mountPoint, const std::string& account,
                     const platform::Clock& clock);

/// The database is open, and the volume busy, only while this runs.
WorkBatchResult runBatch(const WorkBatch& slice, FolderWatch& watch, const platform::Clock& clock);

}  // namespace wevora::agent_sim
