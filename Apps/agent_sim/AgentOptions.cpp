#include "Apps/agent_sim/AgentOptions.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/Console.h"
#include "Connector/DaemonConnectionNames.h"
#include "Platform/Installation/LoginUser.h"

namespace wevora::agent_sim {

using command_line::Arguments;
using command_line::Operands;
using command_line::Option;

namespace {

using Use = Option::Use;

constexpr Option kAccount{"--account", "ID", "account whose database is used", Use::required};
constexpr Option kVolume{"--volume", "MOUNTPOINT", "mount point of the volume", Use::required};
constexpr Option kUser{"--user", "NAME", "user of the agent (default: you)"};

template <class Number>
std::optional<Number> numberIn(const std::string& text) {
  Number number{};
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (failed != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::string accountIn(const Arguments& arguments) {
  auto account = arguments.value("--account").value_or("");
  command_line::requireAccountId(account);
  return account;
}

std::optional<std::uint32_t> seedIn(const Arguments& arguments) {
  const auto text = arguments.value("--seed");
  if (!text) return std::nullopt;
  const auto seed = numberIn<std::uint32_t>(*text);
  if (!seed || *seed >= daemonConnectionNameMaximalSeed())
    throw UsageError("--seed: expected a number from 0 to " +
                     std::to_string(daemonConnectionNameMaximalSeed() - 1) + ", not '" + *text +
                     "'");
  return seed;
}

double syncRateIn(const std::string& text) {
  const auto rate = numberIn<double>(text);
  if (!rate || !std::isfinite(*rate) || *rate < 0)
    throw UsageError("--sync-rate: expected a number, 0 or more, not '" + text + "'");
  return *rate;
}

std::string userIn(const Arguments& arguments) {
  if (const auto user = arguments.value("--user")) {
    if (user->empty() || user->find('/') != std::string::npos)
      throw UsageError("--user: expected a user name, not '" + *user + "'");
    return *user;
  }
  const auto name = platform::loginName();
  if (!name) throw Failure("the calling user has no name (use --user NAME)");
  return *name;
}

void requireKnownControl(const CtlOptions& options) {
  const auto& arguments = options.arguments;
  const auto require = [&](bool holds, const char* what) {
    if (!holds) throw UsageError("ctl " + options.command + ": expected " + what);
  };
  if (options.command == "status") {
    const auto status = numberIn<int>(arguments.size() == 1 ? arguments.front() : "");
    require(status && *status >= 0 && *status <= CONNECTION_STATUS_LOGGEDIN, "0, 1 or 2");
  } else if (options.command == "account") {
    require(arguments.size() == 1, "an ID");
    command_line::requireAccountId(arguments.front(), "ctl account");
  } else if (options.command == "event") {
    require(arguments.size() >= 2, "NAME PATH...");
  } else if (options.command == "quit") {
    require(arguments.empty(), "no arguments");
  } else {
    throw UsageError("ctl: expected 'status', 'account', 'event' or 'quit', not '" +
                     options.command + "'");
  }
}

}  // namespace

const command_line::Program& agentProgram() {
  static const command_line::Program program{
      .name = "wevora-agent-sim",
      .summary = "Simulates the backup agent: creates and fills the sync database of a volume.",
      .commands =
          {{.name = "init",
            .help = "create the database with rules of what is backed up; on a volume that has a "
                    "database, add missing rules and change nothing else",
            .options = {kAccount,
                        kVolume,
                        {"--include", "DIR", "back up this folder", Use::repeatable},
                        {"--exclude", "DIR", "do not back up this folder", Use::repeatable}}},
           {.name = "scan",
            .help = "update the database to match the volume; new and changed files become "
                    "pending",
            .options = {kAccount, kVolume}},
           {.name = "mark",
            .operands = {"PATH...", 1, Operands::kAnyNumber},
            .help = "mark items, folders with everything in them, as backed up or as pending",
            .options = {kAccount,
                        {"--synchronized", "", "mark as backed up"},
                        {"--pending", "", "mark as pending (one of the two is required)"}}},
           {.name = "serve",
            .help = "run as the agent until a signal or 'ctl quit': file managers find it by user "
                    "and seed; create the databases of the volumes, follow changes there, and "
                    "back up pending files, oldest first",
            .options = {kAccount,
                        kUser,
                        {"--seed", "N", "seed of the agent's name, 0 to 29 (default: 0)"},
                        {"--volume", "MOUNTPOINT", "volume to follow", Use::repeatable},
                        {"--sync-rate", "N",
                         "files to back up per second (default: 5; 0: do not back up)"}}},
           {.name = "ctl",
            .operands = {"status 0|1|2 | account ID | event NAME PATH... | quit", 1,
                         Operands::kAnyNumber},
            .help = "make the running agent change its connection status (0 logged out, 1 logging "
                    "in, 2 logged in) or its account, post an event for paths, or quit",
            .options = {kUser,
                        {"--seed", "N",
                         "seed of the agent's name, 0 to 29 (default: the first agent that "
                         "responds)"}}},
           {.name = "help", .help = "print this text"}},
      .sections = {{"Exit status",
                    {{"0", "done"},
                     {"1", "failed, nothing was changed"},
                     {"2", "usage error"},
                     {"3", "ctl found no running agent"}}}}};
  return program;
}

VolumeOptions VolumeOptions::from(const Arguments& arguments) {
  return {.account = accountIn(arguments),
          .volume = pathArgument(arguments.value("--volume").value_or("")),
          .included = arguments.values("--include"),
          .excluded = arguments.values("--exclude")};
}

MarkOptions MarkOptions::from(const Arguments& arguments) {
  MarkOptions options{.account = accountIn(arguments),
                      .synchronized = arguments.has("--synchronized")};
  if (options.synchronized == arguments.has("--pending"))
    throw UsageError("mark: expected either --synchronized or --pending");
  std::ranges::transform(arguments.operands, std::back_inserter(options.paths), &pathArgument);
  return options;
}

ServeOptions ServeOptions::from(const Arguments& arguments) {
  ServeOptions options{.account = accountIn(arguments), .seed = seedIn(arguments).value_or(0)};
  for (const auto& text : arguments.values("--volume")) {
    auto volume = pathArgument(text);
    if (std::ranges::find(options.volumes, volume) == options.volumes.end())
      options.volumes.push_back(std::move(volume));
  }
  if (const auto rate = arguments.value("--sync-rate")) options.syncRate = syncRateIn(*rate);
  options.user = userIn(arguments);
  return options;
}

CtlOptions CtlOptions::from(const Arguments& arguments) {
  CtlOptions options{.seed = seedIn(arguments),
                     .command = arguments.operands.front(),
                     .arguments = {arguments.operands.begin() + 1, arguments.operands.end()}};
  requireKnownControl(options);
  if (options.command == "event")
    std::transform(options.arguments.begin() + 1, options.arguments.end(),
                   options.arguments.begin() + 1, &pathArgument);
  options.user = userIn(arguments);
  return options;
}

}  // namespace wevora::agent_sim
