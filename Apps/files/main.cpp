#include <csignal>
#include <iostream>
#include <stdexcept>
#include <unistd.h>

#include "Apps/files/FilesCommands.h"
#include "Apps/files/Interruption.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"

namespace wevora::files {
namespace {

constexpr int kFailed = 2;

int run(const FilesOptions& options) {
  WVRFileTools::load();
  const FilesConsole console{std::cout, std::cerr, ::isatty(STDERR_FILENO) != 0};
  int status = kFailed;
  try {
    status = FilesCommands(options, console).run();
  } catch (const Interrupted& interrupted) {
    // The parent process sees which signal ended this one.
    std::raise(interrupted.signal());
  }
  std::cout.flush();
  if (!std::cout) throw std::runtime_error("cannot write to standard output");
  return status;
}

}  // namespace
}  // namespace wevora::files

int main(int count, char** arguments) {
  using namespace wevora;
  return command_line::runProgram(
      files::filesProgram(), count, arguments,
      [](const command_line::Arguments& parsed) {
        return files::run(files::FilesOptions::from(parsed));
      },
      files::kFailed);
}
