#include "Apps/status/StatusOptions.h"

namespace wevora::status {

const char* const kUsage =
    "usage: wevora-status [--account ID] [--watch] [--format text|json] [--recursive] PATH...\n"
    "\n"
    "Prints the backup state of each item: one line with a word, a tab and the path.\n"
    "\n"
    "  green       backed up\n"
    "  blue        not backed up yet\n"
    "  red         a folder, or a volume that holds backed-up folders\n"
    "  none        known to have no badge\n"
    "  unreadable  missing, or not to be read by you\n"
    "\n"
    "The running agent is asked whose backup it is, and badges that are switched off leave "
    "\"none\".\n"
    "\n"
    "  --account ID        that account's backup, whether an agent runs or not\n"
    "  --watch             stays, and prints an item's line again when its word changes, until\n"
    "                      interrupted\n"
    "  --format json       one object a line: path, status, and the volume's database or null\n"
    "  --recursive         folders with all that is in them; links are not followed\n"
    "  --help, --version\n"
    "\n"
    "Exit status: 0 when every path was answered, or when --watch was interrupted; 1 when some "
    "path\n"
    "was unreadable, 2 for a wrong call, 3 when there is no agent to ask.\n";

using command_line::Arguments;
using command_line::formatNamed;

namespace {

void check(const StatusOptions& options) {
  if (options.account && options.account->empty()) throw WrongUsage("--account needs an ID");
  if (options.account && options.account->find('/') != std::string::npos)
    throw WrongUsage("an account has no '/' in its name");
  if (options.paths.empty()) throw WrongUsage("no PATH is given");
  for (const auto& path : options.paths)
    if (path.empty()) throw WrongUsage("a PATH is empty");
}

}  // namespace

StatusOptions StatusOptions::parse(std::span<const char* const> arguments) {
  StatusOptions options;
  Arguments rest(arguments);
  bool onlyPaths = false;
  while (rest.more()) {
    const std::string argument = rest.take();
    if (onlyPaths || !argument.starts_with("-") || argument == "-") {
      options.paths.push_back(argument);
    } else if (argument == "--") {
      onlyPaths = true;
    } else if (argument == "--recursive") {
      options.recursive = true;
    } else if (argument == "--watch") {
      options.watch = true;
    } else if (argument == "--help" || argument == "-h") {
      options.help = true;
    } else if (argument == "--version") {
      options.version = true;
    } else if (auto account = rest.value(argument, "--account")) {
      options.account = std::move(account);
    } else if (const auto format = rest.value(argument, "--format")) {
      options.format = formatNamed(*format);
    } else {
      throw WrongUsage("unknown option '" + argument + "'");
    }
  }
  if (!options.help && !options.version) check(options);
  return options;
}

}  // namespace wevora::status
