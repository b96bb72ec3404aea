#include "Apps/files/FilesOptions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include "Apps/CommandLine/PathArgument.h"

namespace wevora::files {

using command_line::Operands;
using command_line::Option;

namespace {

constexpr Operands kPaths{"PATH...", 1, Operands::kAnyNumber};
constexpr Operands kFolder{"DIR", 1};
constexpr Option kNull{"--null", "", "end each path with a NUL instead of a line feed"};

using Command = FilesOptions::Command;
constexpr std::array<std::pair<std::string_view, Command>, 7> kCommands{
    {{"ignored", Command::ignored},
     {"list", Command::list},
     {"scan", Command::scan},
     {"trash", Command::trash},
     {"md5", Command::md5},
     {"backup", Command::backup},
     {"hide", Command::hide}}};

std::uint64_t attemptsIn(const std::string& text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, failed] = std::from_chars(text.data(), end, number);
  if (failed != std::errc() || stopped != end)
    throw UsageError("--attempts: expected a number, not '" + text + "'");
  return number;
}

}  // namespace

const command_line::Program& filesProgram() {
  static const command_line::Program program{
      .name = "wevora-files",
      .summary =
          "Applies the file rules of the backup: which items it skips, what a folder "
          "contains, how it copies a file.",
      .commands =
          {{.name = "ignored",
            .operands = kPaths,
            .help = "check whether the backup skips each item: it is invisible, a database "
                    "of the backup, or a file with the extension part or dtapart"},
           {.name = "list",
            .operands = kFolder,
            .help = "list the items of a folder, including hidden ones",
            .options = {{"--mask", "MASK",
                         "list only names that match: * any run of characters, ? one "
                         "character, case-sensitive"},
                        {"--no-dirs", "", "skip folders"},
                        {"--no-files", "", "skip regular files"},
                        {"--no-resolve", "", "treat a symbolic link as a link, not as its target"},
                        {"--keep-links", "",
                         "include items that are still links: dangling ones, and all with "
                         "--no-resolve"},
                        {"--resolved", "", "print the target of a link instead of its path"},
                        kNull}},
           {.name = "scan",
            .operands = kFolder,
            .help = "list the folders in a folder that the backup does not skip",
            .options = {{"--files", "", "list the items that are not folders instead"}, kNull}},
           {.name = "trash",
            .operands = kPaths,
            .help = "check whether each item is in the Trash of its volume"},
           {.name = "md5", .operands = kPaths, .help = "print the MD5 digest of each file"},
           {.name = "backup",
            .operands = {"SRC DST", 2},
            .help = "copy a file, link or folder to a path that does not exist, and "
                    "compare the two",
            .options = {{"--attempts", "N",
                         "try up to N times; after the last failure remove DST, EVEN IF IT "
                         "EXISTED BEFORE (but never SRC, a folder around it, or an item in "
                         "it)"}}},
           {.name = "hide", .operands = kPaths, .help = "make items invisible in file managers"},
           {.name = "help", .help = "print this text"}},
      .options = {{"--format", "text|json",
                   "json: one object per line; the text format does not escape paths"}},
      .sections = {
          {"Exit status",
           {{"0", "yes, or done"}, {"1", "no for some item, or not done"}, {"2", "usage error"}}}}};
  return program;
}

FilesOptions FilesOptions::from(const command_line::Arguments& arguments) {
  FilesOptions options{.paths = arguments.operands,
                       .mask = arguments.value("--mask"),
                       .skipDirectories = arguments.has("--no-dirs"),
                       .skipFiles = arguments.has("--no-files"),
                       .resolveSymlinks = !arguments.has("--no-resolve"),
                       .skipSymlinks = !arguments.has("--keep-links"),
                       .useResolvedPaths = arguments.has("--resolved"),
                       .saveFolders = !arguments.has("--files"),
                       .endWithNul = arguments.has("--null")};
  for (const auto& [name, command] : kCommands)
    if (name == arguments.command) options.command = command;
  if (const auto format = arguments.value("--format"))
    options.format = command_line::formatNamed(*format);
  if (const auto attempts = arguments.value("--attempts")) options.attempts = attemptsIn(*attempts);
  command_line::requireNonEmptyPaths(options.paths);
  if (options.endWithNul && options.format == Format::json)
    throw UsageError("--null cannot be combined with --format json");
  return options;
}

}  // namespace wevora::files
