#include "Apps/agent_sim/WorkBatch.h"

#include <filesystem>
#include <utility>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/Console.h"
#include "Apps/agent_sim/EventCoalescer.h"
#include "Platform/Base/Strings.h"

namespace wevora::agent_sim {
namespace {

constexpr std::chrono::milliseconds kTimeSlice{50};

class WorkBatchRun {
 public:
  WorkBatchRun(const WorkBatch& batch, FolderWatch& watch, const platform::Clock& clock)
      : batch_(batch), watch_(watch), clock_(clock) {}

  WorkBatchResult run() {
    try {
      work();
    } catch (const std::exception& failed) {
      result_.failure = failed.what();
    }
    return std::move(result_);
  }

 private:
  void work() {
    mounted(batch_.mountPoint);
    if (batch_.prepare) prepareDatabase(batch_.mountPoint, batch_.account, clock_);
    AgentDatabase database(databasePath(batch_.mountPoint, batch_.account), batch_.mountPoint,
                           clock_, AgentDatabase::Mode::mustExist);
    AgentDatabase::Updates updates(
        database, [this](const std::string& text) { result_.warnings.push_back(text); });
    for (const auto& path : batch_.synchronize)
      if (updates.synchronize(path)) report(path, kEventSynchronized, false);
    scanFolders(updates);
    updates.commit();
  }

  void scanFolders(AgentDatabase::Updates& updates) {
    const auto end = clock_.uptime() + kTimeSlice;
    for (const auto& folder : batch_.folders)
      if (clock_.uptime() < end)
        scanFolder(updates, folder);
      else
        result_.rest.push_back(folder);
  }

  void scanFolder(AgentDatabase::Updates& updates, const DirtyFolder& folder) {
    // Watch before the scan, so that no change is missed.
    if (!folder.names) watch(folder.path);
    const auto items = updates.scanFolder(folder.path, folder.names ? &*folder.names : nullptr);
    if (!items) return;
    for (const auto& item : *items) take(folder, item);
    result_.items += items->size();
  }

  void watch(const std::string& folder) {
    const auto failed = watch_.watch(folder);
    // The scan of the parent folder handles a missing or unreadable folder.
    if (failed && failed != std::errc::no_such_file_or_directory &&
        failed != std::errc::not_a_directory && failed != std::errc::permission_denied)
      result_.unwatched.push_back({folder, failed});
  }

  void take(const DirtyFolder& folder, const ScannedItem& item) {
    using Fate = ScannedItem::Fate;
    const auto path = platform::pathByAppendingComponent(folder.path, item.name);
    if (item.fate == Fate::removed) return report(path, kEventRemoved, item.isFolder);
    if (item.fate == Fate::added) report(path, kEventCreated, item.isFolder);
    if (item.fate == Fate::changed) report(path, kEventChanged, item.isFolder);
    if (item.waits) result_.waiting.push_back({path, item.date});
    if (item.isFolder && item.isOfVolume && (folder.deep || item.fate == Fate::added))
      result_.foldersBelow.push_back(path);
  }

  void report(std::string path, const char* word, bool isFolder) {
    result_.events.push_back({std::move(path), word, isFolder});
  }

  const WorkBatch& batch_;
  FolderWatch& watch_;
  const platform::Clock& clock_;
  WorkBatchResult result_;
};

}  // namespace

void prepareDatabase(const std::string& mountPoint, const std::string& account,
                     const platform::Clock& clock) {
  const auto path = databasePath(mounted(mountPoint), account);
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  const AgentDatabase created(path, mountPoint, clock, AgentDatabase::Mode::createIfMissing);
}

WorkBatchResult runBatch(const WorkBatch& batch, FolderWatch& watch, const platform::Clock& clock) {
  return WorkBatchRun(batch, watch, clock).run();
}

}  // namespace wevora::agent_sim
