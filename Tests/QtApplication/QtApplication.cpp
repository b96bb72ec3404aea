#include "Tests/QtApplication/QtApplication.h"

#include "Platform/Base/Guard.h"

// What the fonts' library keeps until the process ends is no leak of ours.
extern "C" [[gnu::visibility("default")]] const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's own name
  return "leak:libfontconfig\n";
}

namespace wevora::testing_host {
namespace {

struct Words {
  Words() { qputenv("QT_QPA_PLATFORM", "offscreen"); }
  int count = 1;
  char name[5] = "test";
  char* all[2] = {name, nullptr};
};

}  // namespace

QApplication& qtApplication() {
  static platform::NeverDestroyed<Words> words;
  static platform::NeverDestroyed<QApplication> application(words->count, words->all);
  return *application;
}

}  // namespace wevora::testing_host
