// wevora-badges as a person runs it, with a home, a template and a session bus of the test's own.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sys/mount.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Platform/PropertyLists/PropertyLists.h"
#include "Tests/Integration/InMountNamespace.h"
#include "Tests/SessionBus/SessionBus.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::PropertyLists;
using platform::Value;
using testing_host::Outcome;

constexpr const char* kOverlay = "kFinderOverlayEnabledKey";

Outcome badges(const std::string& arguments) {
  return testing_host::run(WEVORA_BADGES " " + arguments);
}

class BadgesToolTest : public testing::Test {
 protected:
  BadgesToolTest() {
    fs::remove_all(home);
    fs::create_directories(home);
    mounted = ::mount("tmpfs", "/etc", "tmpfs", 0, "size=1m") == 0;
    std::ofstream("/etc/passwd") << "wevora:x:" << ::getuid() << ":0::" << home << ":/bin/sh\n";
    fs::create_directories(fs::path(settingsTemplate).parent_path());
    std::ofstream(settingsTemplate) << PropertyLists::xml({{"Other", "kept"}}).value();
  }
  ~BadgesToolTest() override { ::umount2("/etc", MNT_DETACH); }
  void SetUp() override {
    ASSERT_TRUE(mounted);
    ASSERT_FALSE(bus.address().empty());
  }
  std::optional<Value> setting() const {
    const auto list = PropertyLists::read(file);
    const auto* settings = list ? list->as<Dictionary>() : nullptr;
    const auto* value = settings == nullptr ? nullptr : settings->find(kOverlay);
    return value == nullptr ? std::nullopt : std::optional(*value);
  }

  testing_host::SessionBus bus;
  const std::string home = "/media/home";
  const std::string file = home + "/.config/Wevora/wevora-settings.plist";
  const std::string settingsTemplate = "/etc/xdg/Wevora/wevora-settings.plist";
  bool mounted = false;
};

TEST_F(BadgesToolTest, BadgesAreOnUntilTheyAreSwitchedOff) {
  EXPECT_EQ(badges("status").output, "on\n");
  EXPECT_EQ(badges("off").status, 0);
  EXPECT_EQ(badges("status").output, "off\n");
  EXPECT_EQ(setting(), Value(false));
  EXPECT_EQ(badges("on").status, 0);
  EXPECT_EQ(badges("status").output, "on\n");
  EXPECT_EQ(setting(), Value(true));
}

TEST_F(BadgesToolTest, TheOtherSettingsStay) {
  ASSERT_EQ(badges("off").status, 0);
  EXPECT_EQ(PropertyLists::read(file), Value(Dictionary{{"Other", "kept"},
                                                        {"HideDesktopItem", false},
                                                        {kOverlay, false},
                                                        {"KeepAlive", true},
                                                        {"RunAtLoad", true}}));
}

TEST_F(BadgesToolTest, AnObserverIsToldOfEachSwitch) {
  const auto observer = bus.observer();
  for (const char* command : {"off", "on", "on"}) {
    const auto outcome = badges(command);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "");
    const auto signal = observer->lineWith("member=");
    EXPECT_NE(signal.find("path=/com/Wevora/DistributedNotificationCenter; "
                          "interface=com.Wevora.DistributedNotificationCenter; "
                          "member=kFinderOverlayChanged"),
              std::string::npos)
        << signal;
    EXPECT_EQ(observer->line(), "   string \"\"");
    EXPECT_EQ(observer->line(), "   array [");
    EXPECT_EQ(observer->line(), "   ]");
  }
}

TEST_F(BadgesToolTest, AskingForTheStatusTellsNobody) {
  const auto observer = bus.observer();
  badges("status");
  badges("off");
  EXPECT_NE(observer->lineWith("member=kFinderOverlayChanged"), "");
  badges("status");
  badges("on");
  // The next of all signals is that of the switch.
  for (int line = 0; line < 3; ++line) observer->line();
  EXPECT_NE(observer->line().find("member=kFinderOverlayChanged"), std::string::npos);
}

TEST_F(BadgesToolTest, WhoIsToldReadsTheNewSettingAtOnce) {
  const auto observer = bus.observer();
  badges("off");
  ASSERT_NE(observer->lineWith("member=kFinderOverlayChanged"), "");
  EXPECT_EQ(setting(), Value(false));
}

TEST_F(BadgesToolTest, WithoutASessionBusTheSettingIsWrittenAndTheStatusIsThree) {
  bus.end();
  const auto outcome = badges("off");
  EXPECT_EQ(outcome.status, 3);
  EXPECT_NE(outcome.output.find("no session bus"), std::string::npos) << outcome.output;
  EXPECT_EQ(badges("status").output, "off\n");
}

TEST_F(BadgesToolTest, WithoutASettingsFileAndATemplateTheStatusIsOneAndTheTextSaysWhere) {
  fs::remove(settingsTemplate);
  const auto outcome = badges("off");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find(file), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find(settingsTemplate), std::string::npos) << outcome.output;
  EXPECT_EQ(badges("status").output, "on\n");
}

TEST_F(BadgesToolTest, AUserWithoutAHomeFolderIsToldSo) {
  std::ofstream("/etc/passwd", std::ios::trunc).flush();
  const auto outcome = badges("off");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("no home folder"), std::string::npos) << outcome.output;
}

TEST_F(BadgesToolTest, NothingIsToldWhereNothingCouldBeWritten) {
  const auto observer = bus.observer();
  fs::remove(settingsTemplate);
  badges("off");
  std::ofstream(settingsTemplate) << PropertyLists::xml({}).value();
  badges("on");
  ASSERT_NE(observer->lineWith("member=kFinderOverlayChanged"), "");
  EXPECT_EQ(setting(), Value(true));
}

TEST_F(BadgesToolTest, AWrongCallEndsWithTwoAndOneLine) {
  for (const char* arguments : {"", "fly", "on off", "--on", "status now"}) {
    const auto outcome = badges(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(std::ranges::count(outcome.output, '\n'), 1) << outcome.output;
  }
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(BadgesToolTest, HelpAndVersionAreAnswered) {
  EXPECT_TRUE(badges("--help").output.starts_with("usage: wevora-badges"));
  EXPECT_EQ(badges("--help").status, 0);
  EXPECT_EQ(badges("--version").output, "wevora-badges 0.1.0\n");
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
