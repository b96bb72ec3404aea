// The real file manager with the module in it: what it shows, told by its pixels.

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "Tests/Integration/InMountNamespace.h"
#include "Tests/Integration/MountedVolume.h"
#include "Tests/NautilusHost/Session.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using testing_host::Agent;
using testing_host::agentTool;
using testing_host::MountedVolume;
using testing_host::Session;
using View = testing_host::Session::View;

constexpr const char* kAccount = "7";

class NautilusTest : public testing::Test {
 protected:
  NautilusTest() {
    mounted_ = volume.mount();
    fs::create_directories(path("Folder/Inner"));
    write("Folder/inside.txt");
    write("kept.txt");
    write("waiting.txt");
  }
  std::string path(const std::string& name) const { return volume.path(name); }
  void write(const std::string& name) const { std::ofstream(path(name)) << "x"; }

  /// The database of the volume as it is now: "kept.txt" and what the list names are backed up.
  void scan(std::vector<std::string> backedUp = {}) const {
    ASSERT_TRUE(mounted_);
    agentTool(
        {"init", "--account", kAccount, "--volume", volume.path(), "--include", volume.path()});
    agentTool({"scan", "--account", kAccount, "--volume", volume.path()});
    backedUp.emplace_back("kept.txt");
    for (const auto& name : backedUp) mark(name, "--synchronized");
  }
  void mark(const std::string& name, const std::string& as) const {
    agentTool({"mark", "--account", kAccount, as, path(name)});
  }
  std::string database() const { return path("Wevora-Account-7.db"); }

  MountedVolume volume{MountedVolume::Kind::tmpfs, "/media/Stick"};

 private:
  bool mounted_ = false;
};

class NautilusViewTest : public NautilusTest, public testing::WithParamInterface<View> {};

INSTANTIATE_TEST_SUITE_P(Views, NautilusViewTest, testing::Values(View::Icons, View::List),
                         [](const auto& view) {
                           return view.param == View::Icons ? "Icons" : "List";
                         });

TEST_P(NautilusViewTest, EachWordHasItsBadgeAndAnItemWithoutOneHasNone) {
  scan();
  Session session(GetParam());
  const Agent agent(kAccount);
  session.open(volume.path(), 4);
  EXPECT_TRUE(session.shows(path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(path("Folder"), "red"));
  EXPECT_EQ(session.word(database()), "");
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
