#include "Apps/agent_sim/AgentOptions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <map>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/Console.h"
#include "Apps/agent_sim/Control.h"
#include "Connector/DaemonConnectionNames.h"
#include "Platform/Installation/LoginUser.h"

namespace wevora::agent_sim {
namespace {

template <class Number>
std::optional<Number> numberOf(const std::string& text) {
  Number number{};
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (failed != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::uint32_t seedOf(const std::string& text) {
  const auto seed = numberOf<std::uint32_t>(text);
  if (!seed || *seed >= daemonConnectionNameMaximalSeed())
    throw WrongUsage("a seed is a number from 0 to " +
                     std::to_string(daemonConnectionNameMaximalSeed() - 1));
  return *seed;
}

double rateOf(const std::string& text) {
  const auto rate = numberOf<double>(text);
  if (!rate || !std::isfinite(*rate) || *rate < 0)
    throw WrongUsage("a sync rate is a number, 0 or more");
  return *rate;
}

std::string accountOf(const std::string& text) {
  if (text.empty()) throw WrongUsage("an account has a name");
  if (!isAccountName(text)) throw WrongUsage("an account has no '/' in its name");
  return text;
}

std::string userOf(const std::string& text) {
  if (text.empty() || text.find('/') != std::string::npos)
    throw WrongUsage("'" + text + "' is no user's name");
  return text;
}

std::string ownUser() {
  const auto name = platform::loginName();
  if (!name) throw Failure("this user has no name; give --user NAME");
  return *name;
}

using Setters = std::map<std::string, std::function<void(const std::string&)>>;

/// Sets options, each of which has a value; answers the other words.
std::vector<std::string> wordsOf(std::span<const char* const> arguments, const Setters& setters) {
  std::vector<std::string> words;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string argument = arguments[i];
    if (argument == "--") {
      words.insert(words.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                   arguments.end());
      break;
    }
    if (!argument.starts_with("--")) {
      words.push_back(argument);
      continue;
    }
    const auto setter = setters.find(argument);
    if (setter == setters.end()) throw WrongUsage("unknown option '" + argument + "'");
    if (++i == arguments.size()) throw WrongUsage(argument + " needs a value");
    setter->second(arguments[i]);
  }
  return words;
}

void checkCommand(CtlOptions& options) {
  const auto count = options.arguments.size();
  const auto want = [&](bool holds, const char* what) {
    if (!holds) throw WrongUsage(options.command + " needs " + what);
  };
  if (options.command == "status") {
    want(count == 1 && numberOf<int>(options.arguments[0]).value_or(-1) >= 0 &&
             *numberOf<int>(options.arguments[0]) <= CONNECTION_STATUS_LOGGEDIN,
         "0, 1 or 2");
  } else if (options.command == "account") {
    want(count == 1, "an ID");
    accountOf(options.arguments[0]);
  } else if (options.command == "event") {
    want(count >= 2, "a NAME and a PATH");
    std::transform(options.arguments.begin() + 1, options.arguments.end(),
                   options.arguments.begin() + 1, &pathArgument);
  } else if (options.command == "quit") {
    want(count == 0, "nothing more");
  } else {
    throw WrongUsage("unknown command 'ctl " + options.command + "'");
  }
}

}  // namespace

ServeOptions serveOptions(std::span<const char* const> arguments) {
  ServeOptions options;
  const auto addVolume = [&](const std::string& text) {
    const auto volume = pathArgument(text);
    if (std::find(options.volumes.begin(), options.volumes.end(), volume) == options.volumes.end())
      options.volumes.push_back(volume);
  };
  const auto words =
      wordsOf(arguments,
              {{"--account", [&](const std::string& text) { options.account = accountOf(text); }},
               {"--user", [&](const std::string& text) { options.user = userOf(text); }},
               {"--seed", [&](const std::string& text) { options.seed = seedOf(text); }},
               {"--volume", addVolume},
               {"--sync-rate", [&](const std::string& text) { options.syncRate = rateOf(text); }}});
  if (!words.empty()) throw WrongUsage("'" + words.front() + "' does not belong to serve");
  if (options.account.empty()) throw WrongUsage("--account ID is needed");
  if (options.user.empty()) options.user = ownUser();
  return options;
}

CtlOptions ctlOptions(std::span<const char* const> arguments) {
  CtlOptions options;
  auto words = wordsOf(arguments,
                       {{"--user", [&](const std::string& text) { options.user = userOf(text); }},
                        {"--seed", [&](const std::string& text) { options.seed = seedOf(text); }}});
  if (words.empty()) throw WrongUsage("ctl needs a command");
  options.command = words.front();
  options.arguments.assign(words.begin() + 1, words.end());
  checkCommand(options);
  if (options.user.empty()) options.user = ownUser();
  return options;
}

}  // namespace wevora::agent_sim
