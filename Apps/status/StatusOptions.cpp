#include "Apps/status/StatusOptions.h"

#include "Apps/CommandLine/PathArgument.h"

namespace wevora::status {

using command_line::Operands;

const command_line::Program& statusProgram() {
  static const command_line::Program program{
      .name = "wevora-status",
      .summary =
          "Prints the backup state of each item: one line with a word, a tab and the path. "
          "Without --account it asks the running agent for the account; while badges are "
          "switched off every word is \"none\".",
      .commands = {{.name = "",
                    .operands = {"PATH...", 1, Operands::kAnyNumber},
                    .options = {{"--account", "ID", "use this account, with or without an agent"},
                                {"--watch", "",
                                 "print an item's line again when its word changes, until "
                                 "interrupted"},
                                {"--format", "text|json",
                                 "json: one object per line with path, status, and the volume's "
                                 "database or null"},
                                {"--recursive", "",
                                 "print folders with everything in them; do not follow links"}}}},
      .sections = {{"Words",
                    {{"green", "backed up"},
                     {"blue", "not backed up yet"},
                     {"red", "a folder, or a volume that contains backed-up folders"},
                     {"none", "known to have no badge"},
                     {"unreadable", "missing, or you may not read it"}}},
                   {"Exit status",
                    {{"0", "every path was readable, or --watch was interrupted"},
                     {"1", "some path was unreadable"},
                     {"2", "usage error"},
                     {"3", "no agent is running"}}}}};
  return program;
}

StatusOptions StatusOptions::from(const command_line::Arguments& arguments) {
  StatusOptions options{.account = arguments.value("--account"),
                        .recursive = arguments.has("--recursive"),
                        .watch = arguments.has("--watch"),
                        .paths = arguments.operands};
  if (const auto format = arguments.value("--format"))
    options.format = command_line::formatNamed(*format);
  if (options.account) command_line::requireAccountId(*options.account);
  command_line::requireNonEmptyPaths(options.paths);
  return options;
}

}  // namespace wevora::status
