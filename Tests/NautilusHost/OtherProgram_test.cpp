// The module inside a program that is not the file manager, as file choosers load it.

#include <dlfcn.h>
#include <filesystem>
#include <string>
#include <sys/mount.h>

#include <glib-object.h>
#include <gtest/gtest.h>

#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/NautilusHost/Session.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;

/// The output of a program of this name after it has loaded the module.
std::string outputOf(const std::string& name) {
  const platform::TemporaryFolder folder;
  const std::string program = folder.path(name);
  fs::copy_file(WEVORA_MODULE_USER, program);
  const auto outcome = testing_host::runToCompletion({program, WEVORA_MODULE});
  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  return outcome.output;
}

class OtherProgramTest : public testing::Test {
 protected:
  OtherProgramTest() {
    testing_host::installBuiltLibraries();
    // Without the bundle, which would search for its agent.
    ::mount("tmpfs", WEVORA_BUNDLE_FOLDER, "tmpfs", 0, nullptr);
  }
};

TEST_F(OtherProgramTest, TheModuleDoesNothingInAnotherProgram) {
  EXPECT_EQ(outputOf("chooser"), "uses 0, types 0\n");
  EXPECT_EQ(outputOf("nautilus-like"), "uses 0, types 0\n");
}

TEST_F(OtherProgramTest, TheModuleLoadsTheProductIntoTheFileManager) {
  EXPECT_EQ(outputOf("nautilus"),
            "uses 1, types 0, /nautilus.so, libwevora_graphics, libwevora_runtime\n");
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
