#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <span>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/Console.h"
#include "Apps/agent_sim/Ctl.h"
#include "Apps/agent_sim/Serve.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Strings.h"
#include "Platform/Base/Version.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::agent_sim {
namespace {

constexpr const char* kUsage =
    "usage: wevora-agent-sim COMMAND ...\n"
    "\n"
    "Stands in for the backup agent: makes and fills the sync database of a volume.\n"
    "\n"
    "  init --account ID --volume MOUNTPOINT [--include DIR]... [--exclude DIR]...\n"
    "      makes the database; folders are rules of what is backed up. On a volume that has a\n"
    "      database already, rules that are missing are added and all else stays.\n"
    "  scan --account ID --volume MOUNTPOINT\n"
    "      brings the database in step with what is on the volume; new and changed files wait\n"
    "      for their backup\n"
    "  mark --account ID --synchronized|--pending PATH...\n"
    "      marks items as backed up, or as waiting; folders with all that is in them\n"
    "  serve --account ID [--user NAME] [--seed N] [--volume MOUNTPOINT]... [--sync-rate N]\n"
    "      runs as the agent until it is ended: file managers find it under the user's name\n"
    "      (default: one's own) and the seed (0 to 29, default 0). The databases of the volumes "
    "are\n"
    "      made, and kept in step with what happens there; files that wait are backed up, the\n"
    "      oldest first, N of them each second (default 5; 0: none)\n"
    "  ctl [--user NAME] [--seed N] status 0|1|2 | account ID | event NAME PATH... | quit\n"
    "      tells the running agent to change its connection's status (0 logged out, 1 logging in,\n"
    "      2 logged in) or its account, to announce that something happened to paths, or to end.\n"
    "      Without a seed it is the first agent that answers\n"
    "  help, --help, --version\n"
    "\n"
    "Exit status: 0 done, 1 not done (nothing was changed), 2 for a wrong call, 3 where no agent\n"
    "runs that ctl could reach.\n";

struct Call {
  std::string command;
  std::string account;
  std::string volume;
  std::vector<std::string> included;
  std::vector<std::string> excluded;
  std::optional<bool> synchronized;
  std::vector<std::string> paths;
};

void setMark(Call& call, bool synchronized) {
  if (call.synchronized.value_or(synchronized) != synchronized)
    throw WrongUsage("--synchronized and --pending exclude each other");
  call.synchronized = synchronized;
}

Call parse(std::span<const char* const> arguments) {
  if (arguments.empty()) throw WrongUsage("no command is given");
  Call call;
  call.command = arguments.front();
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    const std::string argument = arguments[i];
    const auto value = [&] {
      if (++i == arguments.size()) throw WrongUsage(argument + " needs a value");
      return std::string(arguments[i]);
    };
    if (argument == "--account")
      call.account = value();
    else if (argument == "--volume")
      call.volume = pathArgument(value());
    else if (argument == "--include")
      call.included.push_back(value());
    else if (argument == "--exclude")
      call.excluded.push_back(value());
    else if (argument == "--synchronized" || argument == "--pending")
      setMark(call, argument == "--synchronized");
    else if (argument == "--")
      while (++i < arguments.size()) call.paths.push_back(pathArgument(arguments[i]));
    else if (argument.starts_with("-"))
      throw WrongUsage("unknown option '" + argument + "'");
    else
      call.paths.push_back(pathArgument(argument));
  }
  return call;
}

void checkMark(const Call& call) {
  if (!call.volume.empty()) throw WrongUsage("no --volume belongs to mark");
  if (!call.synchronized) throw WrongUsage("--synchronized or --pending is needed");
  if (call.paths.empty()) throw WrongUsage("no PATH is given");
}

void checkVolume(const Call& call) {
  if (call.volume.empty()) throw WrongUsage("--volume MOUNTPOINT is needed");
  if (call.synchronized) throw WrongUsage("--synchronized and --pending belong to mark");
  if (!call.paths.empty()) throw WrongUsage("no PATH belongs to " + call.command);
}

void check(const Call& call) {
  if (call.account.empty()) throw WrongUsage("--account ID is needed");
  if (call.account.find('/') != std::string::npos)
    throw WrongUsage("an account has no '/' in its name");
  if (call.command != "init" && !(call.included.empty() && call.excluded.empty()))
    throw WrongUsage("--include and --exclude belong to init");
  if (call.command == "mark")
    checkMark(call);
  else
    checkVolume(call);
}

/// The innermost mounted volume that holds a path and has a database of the account. One without
/// is passed over: the folder that it is mounted on is an item of the volume around it.
std::string volumeOf(const std::string& path, const std::string& account) {
  std::string longest;
  for (const auto& volume : platform::SystemVolumes().mountedVolumes())
    if (volume.rootPath.size() > longest.size() &&
        WVRFileTools::filePathBelongsToDirectoryAtPath(path, volume.rootPath) &&
        platform::statOfTarget(databasePath(volume.rootPath, account)))
      longest = volume.rootPath;
  if (longest.empty())
    throw Failure("the volume of " + path + " has no database of account " + account +
                  " (init it first)");
  return longest;
}

int runInit(const Call& call, const platform::Clock& clock) {
  const auto volume = mounted(call.volume);
  const auto path = databasePath(volume, call.account);
  const bool existed = platform::statOfTarget(path).has_value();
  // Asked before anything is made, so that a wrong folder leaves no database behind.
  for (const auto* folders : {&call.included, &call.excluded})
    for (const auto& folder : *folders) folderOfRule(volume, folder);
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  AgentDatabase database(path, volume, clock, AgentDatabase::Mode::createIfMissing);
  const int rules = database.addRules(call.included, call.excluded);
  std::cout << (existed ? "kept " : "made ") << oneLine(path) << ", " << rules << " rules added\n";
  return 0;
}

int runScan(const Call& call, const platform::Clock& clock) {
  const auto volume = mounted(call.volume);
  AgentDatabase database(databasePath(volume, call.account), volume, clock,
                         AgentDatabase::Mode::mustExist);
  const auto result = database.scan(&complain);
  std::cout << "scanned " << result.items << " items (" << result.added << " new, "
            << result.changed << " changed, " << result.gone << " gone)\n";
  return 0;
}

int runMark(const Call& call, const platform::Clock& clock) {
  std::map<std::string, std::vector<std::string>> pathsOfVolume;
  for (const auto& path : call.paths) {
    auto volume = volumeOf(path, call.account);
    const auto below = path.substr(volume == "/" ? 0 : volume.size());
    // A volume that is mounted twice has one database, which can be changed only once at a time.
    for (const auto& [known, paths] : pathsOfVolume)
      if (std::filesystem::equivalent(databasePath(known, call.account),
                                      databasePath(volume, call.account)))
        volume = known;
    pathsOfVolume[volume].push_back(volume + below);
  }
  std::vector<std::unique_ptr<AgentDatabase>> databases;  // outlive their marks
  std::vector<AgentDatabase::OpenMarks> marks;
  for (const auto& [volume, paths] : pathsOfVolume) {
    databases.push_back(std::make_unique<AgentDatabase>(databasePath(volume, call.account), volume,
                                                        clock, AgentDatabase::Mode::mustExist));
    marks.push_back(databases.back()->openMarks(paths, *call.synchronized));
  }
  std::int64_t marked = 0;
  for (const auto& mark : marks) {
    mark.transaction->commit();
    marked += mark.items;
  }
  std::cout << "marked " << marked << " items as "
            << (*call.synchronized ? "synchronized" : "pending") << "\n";
  return 0;
}

/// The output of --help and --version; `nullopt` for any other call.
std::optional<std::string> informationFor(std::span<const char* const> arguments) {
  if (!arguments.empty() && std::string_view(arguments.front()) == "help") return kUsage;
  for (const std::string_view argument : arguments) {
    if (argument == "--") return std::nullopt;
    if (argument == "--help") return kUsage;
    if (argument == "--version")
      return "wevora-agent-sim " + std::string(platform::productVersion()) + "\n";
  }
  return std::nullopt;
}

int run(std::span<const char* const> arguments) {
  if (const auto information = informationFor(arguments)) {
    std::cout << *information;
    return 0;
  }
  if (!arguments.empty() && std::string_view(arguments.front()) == "serve")
    return runServe(arguments.subspan(1));
  if (!arguments.empty() && std::string_view(arguments.front()) == "ctl")
    return runCtl(arguments.subspan(1));
  const Call call = parse(arguments);
  const platform::SystemClock clock;
  const std::map<std::string, int (*)(const Call&, const platform::Clock&)> commands = {
      {"init", &runInit}, {"scan", &runScan}, {"mark", &runMark}};
  const auto command = commands.find(call.command);
  if (command == commands.end()) throw WrongUsage("unknown command '" + call.command + "'");
  check(call);
  return command->second(call, clock);
}

int runCatching(std::span<const char* const> arguments) {
  try {
    return run(arguments);
  } catch (const WrongUsage& wrong) {
    complain(std::string(wrong.what()) + " (try --help)");
    return 2;
  } catch (const std::exception& failure) {
    complain(failure.what());
    return 1;
  }
}

}  // namespace
}  // namespace wevora::agent_sim

int main(int count, char** arguments) {
  const std::span<const char* const> all(arguments, static_cast<std::size_t>(count));
  return wevora::agent_sim::runCatching(all.subspan(count > 0 ? 1 : 0));
}
