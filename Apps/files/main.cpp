#include <csignal>
#include <iostream>
#include <unistd.h>

#include "Apps/files/FilesCommands.h"
#include "Apps/files/Interruption.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Version.h"

namespace wevora::files {
namespace {

constexpr int kWrongUsage = 2;

int run(const FilesOptions& options) {
  if (options.help) {
    std::cout << kUsage;
    return FilesCommands::kYes;
  }
  if (options.version) {
    std::cout << "wevora-files " << platform::productVersion() << "\n";
    return FilesCommands::kYes;
  }
  WVRFileTools::load();
  const FilesConsole console{std::cout, std::cerr, ::isatty(STDERR_FILENO) != 0};
  const int status = FilesCommands(options, console).run();
  std::cout.flush();
  if (!std::cout) throw std::runtime_error("cannot write the answers");
  return status;
}

}  // namespace
}  // namespace wevora::files

int main(int count, char** arguments) {
  using namespace wevora::files;
  try {
    const std::span<const char* const> all(arguments, static_cast<std::size_t>(count));
    return run(FilesOptions::parse(all.subspan(count > 0 ? 1 : 0)));
  } catch (const Interrupted& interrupted) {
    // So that who started the program sees what ended it.
    std::raise(interrupted.signal());
  } catch (const WrongUsage& wrong) {
    std::cerr << "wevora-files: " << wrong.what() << " (try --help)\n";
  } catch (const std::exception& failure) {
    std::cerr << "wevora-files: " << failure.what() << "\n";
  }
  return kWrongUsage;
}
