// The program wevora-badges, with its own home, settings template and session bus.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sys/mount.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Platform/PropertyLists/PropertyLists.h"
#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/ServiceThread/ServiceThread.h"
#include "Tests/SessionBus/SessionBus.h"
#include "Tests/SettingsFiles/OwnSettings.h"
#include "Tests/SettingsFiles/SettingsFiles.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::PropertyLists;
using platform::Value;
using testing_host::kOverlay;
using testing_host::Outcome;

Outcome badges(std::vector<std::string> words) {
  words.insert(words.begin(), WEVORA_BADGES);
  return testing_host::runToCompletion(words);
}

/// Counts the notifications of the switch on the bus.
class Observer {
 public:
  explicit Observer(const std::string& address)
      : monitor_({"dbus-monitor", "--address", address,
                  "type='signal',interface='com.Wevora.DistributedNotificationCenter'"}) {
    // The monitor loses its unique name when it starts to receive.
    EXPECT_TRUE(monitor_.waitForOutput("member=NameLost"));
  }
  std::string received() const { return monitor_.output(); }
  int switches() const {
    const std::string all = monitor_.output();
    int count = 0;
    for (std::size_t at = 0; (at = all.find(kSignal, at)) != std::string::npos; ++at) ++count;
    return count;
  }
  bool waitForSwitches(int wanted) {
    return testing_host::runMainLoopUntil([&] { return switches() >= wanted; });
  }

  static constexpr const char* kSignal =
      "path=/com/Wevora/DistributedNotificationCenter; "
      "interface=com.Wevora.DistributedNotificationCenter; member=kFinderOverlayChanged\n"
      "   string \"\"\n   array [\n   ]\n";

 private:
  testing_host::ChildProcess monitor_;
};

class BadgesToolTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(system.mounted); }
  std::optional<Value> setting() const {
    const auto list = PropertyLists::read(file);
    const auto* settings = list ? list->as<Dictionary>() : nullptr;
    const auto* value = settings == nullptr ? nullptr : settings->find(kOverlay);
    return value == nullptr ? std::nullopt : std::optional(*value);
  }

  testing_host::SessionBus bus;
  const testing_host::OwnSettings system;
  const std::string& file = system.file;
  const std::string& settingsTemplate = system.settingsTemplate;
};

TEST_F(BadgesToolTest, BadgesAreOnUntilTheyAreSwitchedOff) {
  EXPECT_EQ(badges({"status"}).output, "on\n");
  EXPECT_EQ(badges({"off"}).status, 0);
  EXPECT_EQ(badges({"status"}).output, "off\n");
  EXPECT_EQ(setting(), Value(false));
  EXPECT_EQ(badges({"on"}).status, 0);
  EXPECT_EQ(badges({"status"}).output, "on\n");
  EXPECT_EQ(setting(), Value(true));
}

TEST_F(BadgesToolTest, OtherSettingsAreKept) {
  ASSERT_EQ(badges({"off"}).status, 0);
  EXPECT_EQ(PropertyLists::read(file), Value(Dictionary{{"Other", "kept"},
                                                        {"HideDesktopItem", false},
                                                        {kOverlay, false},
                                                        {"KeepAlive", true},
                                                        {"RunAtLoad", true}}));
}

TEST_F(BadgesToolTest, AnObserverIsNotifiedOfEachSwitch) {
  Observer observer(bus.address());
  int switches = 0;
  for (const char* command : {"off", "on", "on"}) {
    const auto outcome = badges({command});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output + outcome.errors, "");
    EXPECT_TRUE(observer.waitForSwitches(++switches)) << observer.received();
  }
  EXPECT_EQ(observer.switches(), 3);
}

TEST_F(BadgesToolTest, PrintingTheStatusPostsNothing) {
  Observer observer(bus.address());
  badges({"status"});
  badges({"off"});
  badges({"status"});
  badges({"on"});
  EXPECT_TRUE(observer.waitForSwitches(2));
  EXPECT_EQ(observer.switches(), 2);
}

TEST_F(BadgesToolTest, AnObserverReadsTheNewSettingAtOnce) {
  Observer observer(bus.address());
  badges({"off"});
  ASSERT_TRUE(observer.waitForSwitches(1));
  EXPECT_EQ(setting(), Value(false));
}

TEST_F(BadgesToolTest, WithoutASessionBusTheSettingIsWrittenAndTheStatusIsThree) {
  bus.stop();
  const auto outcome = badges({"off"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_NE(outcome.errors.find("no session bus"), std::string::npos) << outcome.errors;
  EXPECT_EQ(badges({"status"}).output, "off\n");
}

TEST_F(BadgesToolTest, WithoutASettingsFileAndATemplateTheStatusIsOneAndTheMessageNamesBoth) {
  fs::remove(settingsTemplate);
  const auto outcome = badges({"off"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.errors.find(file), std::string::npos) << outcome.errors;
  EXPECT_NE(outcome.errors.find(settingsTemplate), std::string::npos) << outcome.errors;
  EXPECT_EQ(badges({"status"}).output, "on\n");
}

TEST_F(BadgesToolTest, AUserWithoutAHomeFolderGetsAnError) {
  std::ofstream("/etc/passwd", std::ios::trunc).flush();
  const auto outcome = badges({"off"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.errors.find("no home folder"), std::string::npos) << outcome.errors;
}

TEST_F(BadgesToolTest, NothingIsPostedWhenNothingWasWritten) {
  Observer observer(bus.address());
  fs::remove(settingsTemplate);
  badges({"off"});
  std::ofstream(settingsTemplate) << PropertyLists::xml({}).value();
  badges({"on"});
  ASSERT_TRUE(observer.waitForSwitches(1));
  EXPECT_EQ(observer.switches(), 1);
  EXPECT_EQ(setting(), Value(true));
}

TEST_F(BadgesToolTest, AUsageErrorExitsWithTwoAndPrintsOneLine) {
  using Words = std::vector<std::string>;
  for (const Words& words :
       {Words{}, Words{"fly"}, Words{"on", "off"}, Words{"--on"}, Words{"status", "now"}}) {
    const auto outcome = badges(words);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1) << outcome.errors;
  }
  EXPECT_EQ(badges({}).errors, "wevora-badges: expected 'on', 'off' or 'status' (try --help)\n");
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(BadgesToolTest, HelpAndVersionArePrinted) {
  EXPECT_TRUE(badges({"--help"}).output.starts_with("usage: wevora-badges"));
  EXPECT_EQ(badges({"--help"}).status, 0);
  EXPECT_EQ(badges({"--version"}).output, "wevora-badges 0.1.0\n");
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
