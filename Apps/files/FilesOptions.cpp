#include "Apps/files/FilesOptions.h"

#include <array>
#include <charconv>
#include <string_view>

namespace wevora::files {

const char* const kUsage =
    "usage: wevora-files COMMAND [--format text|json] ...\n"
    "\n"
    "Answers as the backup does: which files concern it, what a folder holds, how a file is "
    "copied.\n"
    "\n"
    "  ignored PATH...   whether each item is left out: invisible, a database of the backup, or a\n"
    "                    file with the extension part or dtapart\n"
    "  list DIR          the items of a folder, hidden ones too\n"
    "    --mask M        only names that M covers: * any run, ? one character; case matters\n"
    "    --no-dirs       no folders\n"
    "    --no-files      no regular files\n"
    "    --no-resolve    a symbolic link counts as a link, not as what it leads to\n"
    "    --keep-links    also what is still a link: one that leads nowhere, or any with "
    "--no-resolve\n"
    "    --resolved      print where a link leads in the place of its own path\n"
    "  scan DIR          the folders of a folder that concern the backup\n"
    "    --files         what is no folder instead\n"
    "  list, scan\n"
    "    --null          end each path with a NUL instead of a line end: names can hold line ends\n"
    "  trash PATH...     whether each item lies in the Trash of its volume\n"
    "  md5 PATH...       the MD5 digest of each file\n"
    "  backup SRC DST    copies a file, link or folder to where nothing is, and compares the two\n"
    "    --attempts N    tries so often; after the last failure DST is removed, ALSO ONE THAT WAS\n"
    "                    THERE BEFORE (never SRC, nor what holds it or lies in it)\n"
    "  hide PATH...      makes items invisible in file managers\n"
    "  help, --help, --version\n"
    "\n"
    "  --format json     one object a line; the text form prints paths as they are\n"
    "\n"
    "Exit status: 0 yes, or done; 1 no for some item, or not done; 2 for a wrong call.\n";

namespace {

using command_line::Arguments;
using Command = FilesOptions::Command;

struct NamedCommand {
  std::string_view name;
  Command command;
};
constexpr std::array kCommands = {
    NamedCommand{"ignored", Command::ignored}, NamedCommand{"list", Command::list},
    NamedCommand{"scan", Command::scan},       NamedCommand{"trash", Command::trash},
    NamedCommand{"md5", Command::md5},         NamedCommand{"backup", Command::backup},
    NamedCommand{"hide", Command::hide}};

Command commandNamed(const std::string& name) {
  for (const auto& command : kCommands)
    if (command.name == name) return command.command;
  throw WrongUsage("unknown command '" + name + "'");
}

std::uint64_t numberOf(const std::string& text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, failed] = std::from_chars(text.data(), end, number);
  if (failed != std::errc() || stopped != end)
    throw WrongUsage("--attempts is a number, not '" + text + "'");
  return number;
}

bool takenByList(FilesOptions& options, const std::string& argument, Arguments& rest) {
  if (options.command != Command::list) return false;
  if (auto mask = rest.value(argument, "--mask"))
    options.mask = std::move(mask);
  else if (argument == "--no-dirs")
    options.skipDirectories = true;
  else if (argument == "--no-files")
    options.skipFiles = true;
  else if (argument == "--no-resolve")
    options.resolveSymlinks = false;
  else if (argument == "--keep-links")
    options.skipSymlinks = false;
  else if (argument == "--resolved")
    options.useResolvedPaths = true;
  else
    return false;
  return true;
}

bool takenByListAndScan(FilesOptions& options, const std::string& argument) {
  const bool lists = options.command == Command::list || options.command == Command::scan;
  if (!lists || argument != "--null") return false;
  options.endWithNul = true;
  return true;
}

bool takenByScanOrBackup(FilesOptions& options, const std::string& argument, Arguments& rest) {
  if (options.command == Command::scan && argument == "--files") {
    options.saveFolders = false;
    return true;
  }
  if (options.command != Command::backup) return false;
  const auto attempts = rest.value(argument, "--attempts");
  if (attempts) options.attempts = numberOf(*attempts);
  return attempts.has_value();
}

bool takenByAll(FilesOptions& options, const std::string& argument, Arguments& rest) {
  if (argument == "--help" || argument == "-h")
    options.help = true;
  else if (argument == "--version")
    options.version = true;
  else if (const auto format = rest.value(argument, "--format"))
    options.format = command_line::formatNamed(*format);
  else
    return false;
  return true;
}

void check(const FilesOptions& options) {
  const auto count = options.paths.size();
  switch (options.command) {
    case Command::list:
    case Command::scan:
      if (count != 1) throw WrongUsage("one DIR is needed");
      break;
    case Command::backup:
      if (count != 2) throw WrongUsage("SRC and DST are needed");
      break;
    default:
      if (count == 0) throw WrongUsage("no PATH is given");
  }
  for (const auto& path : options.paths)
    if (path.empty()) throw WrongUsage("a PATH is empty");
  if (options.endWithNul && options.format == FilesOptions::Format::json)
    throw WrongUsage("--null is for text");
}

}  // namespace

FilesOptions FilesOptions::parse(std::span<const char* const> arguments) {
  FilesOptions options;
  Arguments rest(arguments);
  bool commandGiven = false;
  bool onlyPaths = false;
  while (rest.more()) {
    const std::string argument = rest.take();
    const bool isOption = !onlyPaths && argument.starts_with('-') && argument != "-";
    if (!isOption && commandGiven)
      options.paths.push_back(argument);
    else if (isOption && takenByAll(options, argument, rest))
      continue;
    else if (!commandGiven && argument == "help")
      options.help = commandGiven = true;
    else if (!commandGiven) {
      // An option of one command has no meaning before the command is known.
      if (isOption) throw WrongUsage("the command comes before '" + argument + "'");
      options.command = commandNamed(argument);
      commandGiven = true;
    } else if (argument == "--")
      onlyPaths = true;
    else if (!takenByList(options, argument, rest) && !takenByListAndScan(options, argument) &&
             !takenByScanOrBackup(options, argument, rest))
      throw WrongUsage("unknown option '" + argument + "'");
  }
  if (options.help || options.version) return options;
  if (!commandGiven) throw WrongUsage("no command is given");
  check(options);
  return options;
}

}  // namespace wevora::files
