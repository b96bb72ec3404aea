#include <iostream>
#include <span>
#include <string_view>
#include <vector>

#include "Apps/CommandLine/Arguments.h"
#include "Apps/CommandLine/PathArgument.h"
#include "Apps/chflags/HiddenList.h"
#include "Platform/Base/Version.h"

namespace wevora::chflags {
namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

constexpr const char* kUsage =
    "usage: chflags hidden|nohidden PATH...\n"
    "\n"
    "Hides items in file managers, or shows them again: adds their names to the .hidden file of\n"
    "their folder, or takes them out.\n"
    "\n"
    "Exit status: 0 when every item was marked, 1 when some was not, 2 for a wrong call.\n";

bool flagNamed(const std::string& name) {
  if (name == "hidden") return true;
  if (name == "nohidden") return false;
  throw command_line::WrongUsage("the flag is hidden or nohidden, not '" + name + "'");
}

int setFlags(std::span<const char* const> arguments) {
  command_line::Arguments rest(arguments);
  if (!rest.more()) throw command_line::WrongUsage("no flag is given");
  const bool hidden = flagNamed(rest.take());
  std::vector<std::string> paths;
  while (rest.more()) paths.push_back(rest.take());
  if (!paths.empty() && paths.front() == "--") paths.erase(paths.begin());
  if (paths.empty()) throw command_line::WrongUsage("no PATH is given");
  int status = kDone;
  for (const auto& path : paths) {
    try {
      setHidden(path, hidden);
    } catch (const std::exception& failure) {
      std::cerr << "chflags: cannot change the visibility of '" << command_line::oneLine(path)
                << "': " << failure.what() << "\n";
      status = kFailed;
    }
  }
  return status;
}

int run(std::span<const char* const> arguments) {
  const std::string_view first = arguments.empty() ? "" : arguments.front();
  if (first == "--help" || first == "-h") {
    std::cout << kUsage;
    return kDone;
  }
  if (first == "--version") {
    std::cout << "chflags (wevora) " << platform::productVersion() << "\n";
    return kDone;
  }
  return setFlags(arguments);
}

}  // namespace
}  // namespace wevora::chflags

int main(int count, char** arguments) {
  try {
    const std::span<const char* const> all(arguments, static_cast<std::size_t>(count));
    return wevora::chflags::run(all.subspan(count > 0 ? 1 : 0));
  } catch (const std::exception& failure) {
    std::cerr << "chflags: " << failure.what() << " (try --help)\n";
    return wevora::chflags::kWrongUsage;
  }
}
