#include "Tests/QtApplication/QtApplication.h"

#include "Platform/Base/Guard.h"

// fontconfig's caches live until the process ends.
extern "C" [[gnu::visibility("default")]] const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's own name
  return "leak:libfontconfig\n";
}

namespace wevora::testing_host {
namespace {

struct CommandLine {
  CommandLine() { qputenv("QT_QPA_PLATFORM", "offscreen"); }
  int argc = 1;
  char name[5] = "test";
  char* argv[2] = {name, nullptr};
};

}  // namespace

QApplication& qtApplication() {
  static platform::NeverDestroyed<CommandLine> commandLine;
  static platform::NeverDestroyed<QApplication> application(commandLine->argc, commandLine->argv);
  return *application;
}

}  // namespace wevora::testing_host
