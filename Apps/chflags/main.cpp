#include <iostream>
#include <span>
#include <string>

#include "Apps/CommandLine/PathArgument.h"
#include "Apps/CommandLine/Program.h"
#include "Apps/chflags/HiddenList.h"

namespace wevora::chflags {
namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;

const command_line::Program& program() {
  static constexpr command_line::Operands kPaths{"PATH...", 1, command_line::Operands::kAnyNumber};
  static const command_line::Program program{
      .name = "chflags",
      .summary =
          "Hides items in file managers, or shows them again, through the .hidden file of "
          "their folder.",
      .commands = {{.name = "hidden",
                    .operands = kPaths,
                    .help = "add the names of the items to .hidden",
                    .verbatim = true},
                   {.name = "nohidden",
                    .operands = kPaths,
                    .help = "remove the names of the items from .hidden",
                    .verbatim = true}},
      .sections = {{"Exit status",
                    {{"0", "every item was marked"},
                     {"1", "some item was not marked"},
                     {"2", "usage error"}}}}};
  return program;
}

int setFlags(const command_line::Arguments& arguments) {
  std::span<const std::string> paths = arguments.operands;
  if (paths.front() == "--") paths = paths.subspan(1);
  if (paths.empty()) throw command_line::UsageError("expected PATH... after '--'");
  int status = kDone;
  for (const auto& path : paths) {
    try {
      setHidden(path, arguments.command == "hidden");
    } catch (const std::exception& failure) {
      std::cerr << "chflags: cannot change the visibility of '" << command_line::oneLine(path)
                << "': " << failure.what() << "\n";
      status = kFailed;
    }
  }
  return status;
}

}  // namespace
}  // namespace wevora::chflags

int main(int count, char** arguments) {
  using namespace wevora;
  return command_line::runProgram(chflags::program(), count, arguments, chflags::setFlags,
                                  command_line::kUsageErrorStatus);
}
