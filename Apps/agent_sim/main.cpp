#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/AgentOptions.h"
#include "Apps/agent_sim/Console.h"
#include "Apps/agent_sim/Ctl.h"
#include "Apps/agent_sim/Serve.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::agent_sim {
namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;

/// The innermost mounted volume that contains the path and has a database of the account. A volume
/// without one is skipped: its mount point is an item of the volume around it.
std::string volumeOf(const std::string& path, const std::string& account) {
  std::string longest;
  for (const auto& volume : platform::SystemVolumes().mountedVolumes())
    if (volume.rootPath.size() > longest.size() &&
        WVRFileTools::filePathBelongsToDirectoryAtPath(path, volume.rootPath) &&
        platform::statOfTarget(databasePath(volume.rootPath, account)))
      longest = volume.rootPath;
  if (longest.empty())
    throw Failure("cannot mark '" + path + "': its volume has no database of account " + account +
                  " (run 'wevora-agent-sim init' first)");
  return longest;
}

int runInit(const VolumeOptions& options, const platform::Clock& clock) {
  const auto volume = mounted(options.volume);
  const auto path = databasePath(volume, options.account);
  const bool existed = platform::statOfTarget(path).has_value();
  // Before the database is created, so that a wrong folder leaves none behind.
  for (const auto* folders : {&options.included, &options.excluded})
    for (const auto& folder : *folders) folderOfRule(volume, folder);
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  AgentDatabase database(path, volume, clock, AgentDatabase::Mode::createIfMissing);
  const int rules = database.addRules(options.included, options.excluded);
  std::cout << (existed ? "kept " : "made ") << oneLine(path) << ", " << rules << " rules added\n";
  return kDone;
}

int runScan(const VolumeOptions& options, const platform::Clock& clock) {
  const auto volume = mounted(options.volume);
  AgentDatabase database(databasePath(volume, options.account), volume, clock,
                         AgentDatabase::Mode::mustExist);
  const auto result = database.scan(&complain);
  std::cout << "scanned " << result.items << " items (" << result.added << " new, "
            << result.changed << " changed, " << result.gone << " gone)\n";
  return kDone;
}

int runMark(const MarkOptions& options, const platform::Clock& clock) {
  std::map<std::string, std::vector<std::string>> pathsOfVolume;
  for (const auto& path : options.paths) {
    auto volume = volumeOf(path, options.account);
    const auto below = path.substr(volume == "/" ? 0 : volume.size());
    // A volume that is mounted twice has one database, and that allows one transaction at a time.
    for (const auto& [known, paths] : pathsOfVolume)
      if (std::filesystem::equivalent(databasePath(known, options.account),
                                      databasePath(volume, options.account)))
        volume = known;
    pathsOfVolume[volume].push_back(volume + below);
  }
  std::vector<std::unique_ptr<AgentDatabase>> databases;  // outlive their marks
  std::vector<AgentDatabase::OpenMarks> marks;
  for (const auto& [volume, paths] : pathsOfVolume) {
    databases.push_back(std::make_unique<AgentDatabase>(
        databasePath(volume, options.account), volume, clock, AgentDatabase::Mode::mustExist));
    marks.push_back(databases.back()->openMarks(paths, options.synchronized));
  }
  std::int64_t marked = 0;
  for (const auto& mark : marks) {
    mark.transaction->commit();
    marked += mark.items;
  }
  std::cout << "marked " << marked << " items as "
            << (options.synchronized ? "synchronized" : "pending") << "\n";
  return kDone;
}

int run(const command_line::Arguments& arguments) {
  const platform::SystemClock clock;
  if (arguments.command == "init") return runInit(VolumeOptions::from(arguments), clock);
  if (arguments.command == "scan") return runScan(VolumeOptions::from(arguments), clock);
  if (arguments.command == "mark") return runMark(MarkOptions::from(arguments), clock);
  if (arguments.command == "serve") return runServe(ServeOptions::from(arguments));
  return runCtl(CtlOptions::from(arguments));
}

}  // namespace
}  // namespace wevora::agent_sim

int main(int count, char** arguments) {
  using namespace wevora;
  return command_line::runProgram(agent_sim::agentProgram(), count, arguments, agent_sim::run,
                                  agent_sim::kFailed);
}
