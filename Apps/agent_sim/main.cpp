#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <unistd.h>

#include "Apps/agent_sim/AgentDatabase.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Files/Files.h"
#include "Platform/Strings/Strings.h"
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
    "  help, --help, --version\n"
    "\n"
    "Exit status: 0 done, 1 not done (nothing was changed), 2 for a wrong call.\n";

class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Call {
  std::string command;
  std::string account;
  std::string volume;
  std::vector<std::string> included;
  std::vector<std::string> excluded;
  std::optional<bool> synchronized;
  std::vector<std::string> paths;
};

std::string absolute(const std::string& path) {
  if (path.starts_with("/")) return platform::standardizedPath(path);
  const std::unique_ptr<char, decltype(&std::free)> here(::getcwd(nullptr, 0), &std::free);
  return platform::standardizedPath(std::string(here ? here.get() : "/") + "/" + path);
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
      call.volume = absolute(value());
    else if (argument == "--include")
      call.included.push_back(value());
    else if (argument == "--exclude")
      call.excluded.push_back(value());
    else if (argument == "--synchronized" || argument == "--pending")
      call.synchronized = argument == "--synchronized";
    else if (argument == "--")
      while (++i < arguments.size()) call.paths.push_back(absolute(arguments[i]));
    else if (argument.starts_with("--"))
      throw WrongUsage("unknown option '" + argument + "'");
    else
      call.paths.push_back(absolute(argument));
  }
  return call;
}

void check(const Call& call) {
  if (call.account.empty()) throw WrongUsage("--account ID is needed");
  if (call.account.find('/') != std::string::npos)
    throw WrongUsage("an account has no '/' in its name");
  const bool marks = call.command == "mark";
  if (!marks && call.volume.empty()) throw WrongUsage("--volume MOUNTPOINT is needed");
  if (!marks && !call.paths.empty()) throw WrongUsage("no PATH belongs to " + call.command);
  if (marks && !call.synchronized) throw WrongUsage("--synchronized or --pending is needed");
  if (marks && call.paths.empty()) throw WrongUsage("no PATH is given");
}

std::string mounted(const std::string& volume) {
  if (!platform::SystemVolumes().fileSystemTypeOf(volume))
    throw Failure(volume + " is not the mount point of a volume");
  return volume;
}

/// The mounted volume that holds a path and has a database of the account.
std::string volumeOf(const std::string& path, const std::string& account) {
  std::string longest;
  for (const auto& volume : platform::SystemVolumes().mountedVolumes())
    if (volume.rootPath.size() >= longest.size() &&
        WVRFileTools::filePathBelongsToDirectoryAtPath(path, volume.rootPath))
      longest = volume.rootPath;
  if (!platform::fileExistsAtPath(databasePath(longest, account)).exists)
    throw Failure("the volume of " + path + " has no database of account " + account +
                  " (init it first)");
  return longest;
}

int runInit(const Call& call, const platform::Clock& clock) {
  const auto volume = mounted(call.volume);
  const auto path = databasePath(volume, call.account);
  const bool existed = platform::fileExistsAtPath(path).exists;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  AgentDatabase database(path, volume, clock, AgentDatabase::Mode::createIfMissing);
  const int rules = database.addRules(call.included, call.excluded);
  std::cout << (existed ? "kept " : "made ") << path << ", " << rules << " rules added\n";
  return 0;
}

int runScan(const Call& call, const platform::Clock& clock) {
  const auto volume = mounted(call.volume);
  AgentDatabase database(databasePath(volume, call.account), volume, clock,
                         AgentDatabase::Mode::mustExist);
  const auto result = database.scan(
      [](const std::string& text) { std::cerr << "wevora-agent-sim: " << text << "\n"; });
  std::cout << "scanned " << result.items << " items (" << result.added << " new, "
            << result.changed << " changed, " << result.gone << " gone)\n";
  return 0;
}

int runMark(const Call& call, const platform::Clock& clock) {
  std::map<std::string, std::vector<std::string>> pathsOfVolume;
  for (const auto& path : call.paths) pathsOfVolume[volumeOf(path, call.account)].push_back(path);
  std::int64_t marked = 0;
  for (const auto& [volume, paths] : pathsOfVolume) {
    AgentDatabase database(databasePath(volume, call.account), volume, clock,
                           AgentDatabase::Mode::mustExist);
    marked += database.mark(paths, *call.synchronized);
  }
  std::cout << "marked " << marked << " items as "
            << (*call.synchronized ? "synchronized" : "pending") << "\n";
  return 0;
}

int run(std::span<const char* const> arguments) {
  for (const std::string_view argument : arguments) {
    if (argument != "--help" && argument != "help" && argument != "--version") continue;
    std::cout << (argument == "--version" ? "wevora-agent-sim " WEVORA_VERSION "\n" : kUsage);
    return 0;
  }
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
    std::cerr << "wevora-agent-sim: " << wrong.what() << " (try --help)\n";
    return 2;
  } catch (const std::exception& failure) {
    std::cerr << "wevora-agent-sim: " << failure.what() << "\n";
    return 1;
  }
}

}  // namespace
}  // namespace wevora::agent_sim

int main(int count, char** arguments) {
  const std::span<const char* const> all(arguments, static_cast<std::size_t>(count));
  return wevora::agent_sim::runCatching(all.subspan(count > 0 ? 1 : 0));
}
