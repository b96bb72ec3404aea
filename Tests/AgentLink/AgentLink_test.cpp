// The bundle's side of the agent link, with everything real but the engine: sockets, a session bus,
// and peers in other processes.

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>

#include "Connector/DaemonConnectionNames.h"
#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"
#include "Platform/DistributedNotifications/BusNotificationCenter.h"
#include "Platform/DistributedObjects/SocketConnections.h"
#include "Tests/ServiceThread/ServiceThread.h"
#include "Tests/SessionBus/SessionBus.h"

namespace wevora::testing_host {
namespace {

using Text = std::optional<std::string>;

/// What the link has led to.
class CountingEngine : public StatusEngine {
 public:
  bool turnedOn = false;
  Text account;
  int desktops = 0;
  int windows = 0;
  std::vector<std::string> paths;

  void setTurnedOn(bool on) override { turnedOn = on; }
  void reinit() override {}
  void setAccountIdOfPool(const Text& accountId) override { account = accountId; }
  void reinitPool() override {}
  void updateWindows() override { ++windows; }
  void updateDesktopForce(bool /*force*/) override { ++desktops; }
  void updateNodesWithPath(std::vector<std::string> of) override { paths = std::move(of); }
};

class NoSettings : public SettingsReader {
 public:
  std::optional<platform::Value> readKey(const std::string&, const Text&) override {
    return std::nullopt;
  }
};

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator open("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}

/// The match rules of all the bus's connections that are about our notifications.
std::vector<std::string> matchRules(const std::string& address) {
  const auto told = ranToItsEnd({"gdbus", "call", "--address", address, "--dest",
                                 "org.freedesktop.DBus", "--object-path", "/org/freedesktop/DBus",
                                 "--method", "org.freedesktop.DBus.Debug.Stats.GetAllMatchRules"});
  EXPECT_EQ(told.status, 0) << told.errors;
  std::vector<std::string> rules;
  for (std::size_t at = 0; (at = told.output.find("type='signal'", at)) != std::string::npos;) {
    const auto end = told.output.find('"', at);
    const auto rule = told.output.substr(at, end - at);
    if (rule.find("com.Wevora") != std::string::npos) rules.push_back(rule);
    at = end;
  }
  return rules;
}

class AgentLinkTest : public ::testing::Test {
 protected:
  void load() {
    connector_.emplace(
        WVAgentConnectorServices{std::string(g_get_user_name()), objects_, center_, local_, engine_,
                                 [](const Text&) { return std::make_unique<NoSettings>(); }});
    connector_->connect();
  }
  static std::unique_ptr<ChildProcess> start(std::vector<std::string> words) {
    words.insert(words.begin(), WEVORA_LINK_PEER);
    auto peer = std::make_unique<ChildProcess>(words);
    EXPECT_TRUE(peer->waitForOutput("ready"));
    return peer;
  }
  static std::unique_ptr<ChildProcess> startAgent(unsigned seed, const std::string& object,
                                                  const std::string& account = "42") {
    return start({"agent", std::to_string(seed), object, account});
  }
  bool turnsOn() {
    return runMainLoopUntil([&] { return engine_.turnedOn; });
  }
  bool turnsOff() {
    return runMainLoopUntil([&] { return !engine_.turnedOn; });
  }
  bool hearsEvents() {
    const int before = engine_.desktops;
    return runMainLoopUntil([&] { return engine_.desktops > before + 2; });
  }
  void post(const char* name) { ASSERT_TRUE(center_.post({name, std::nullopt, {}})); }
  /// Lets everything that this process has sent come back to it.
  void settle() {
    bool back = false;
    const auto observation =
        center_.observe("Settled", std::nullopt, [&](const auto&) { back = true; });
    post("Settled");
    ASSERT_TRUE(runMainLoopUntil([&] { return back; }));
  }

  const SessionBus bus_;
  CountingEngine engine_;
  platform::LocalNotificationCenter local_;
  platform::SocketConnections objects_{local_};
  platform::BusNotificationCenter center_;
  std::optional<WVAgentConnector> connector_;
};

TEST_F(AgentLinkTest, AnAgentThatStartsLateIsFollowed) {
  load();
  EXPECT_FALSE(engine_.turnedOn);
  const auto agent = startAgent(0, "late");
  EXPECT_TRUE(turnsOn());
  EXPECT_EQ(engine_.account, "42");
  EXPECT_TRUE(hearsEvents());
  EXPECT_EQ(engine_.paths, std::vector<std::string>{"/volumes/a"});
}

TEST_F(AgentLinkTest, AnAgentKilledTwoHundredTimesIsFollowedEachTimeAndNothingIsLeaked) {
  load();
  auto agent = startAgent(29, "agent");
  ASSERT_TRUE(turnsOn());
  ASSERT_TRUE(hearsEvents());
  const auto descriptors = openDescriptors();
  const auto rules = matchRules(bus_.address()).size();
  EXPECT_EQ(rules, 4U);  // overlay setting, event, account record, status
  for (unsigned round = 0; round < 200; ++round) {
    agent->signal(SIGKILL);
    ASSERT_TRUE(turnsOff()) << round;
    EXPECT_FALSE(engine_.account);
    const auto name = std::to_string(round);
    agent = startAgent(round * 7 % 30, "agent " + name, name);
    ASSERT_TRUE(turnsOn()) << round;
    ASSERT_EQ(engine_.account, name);
  }
  EXPECT_TRUE(hearsEvents());
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_EQ(matchRules(bus_.address()).size(), rules);
}

TEST_F(AgentLinkTest, OfTwoAgentsTheOneWithTheLowerSeedIsUsed) {
  const auto five = startAgent(5, "five", "5");
  const auto three = startAgent(3, "three", "3");
  load();
  EXPECT_EQ(engine_.account, "3");
  three->signal(SIGKILL);
  ASSERT_TRUE(turnsOff());
  post(kIDaemonConnectionBecomeAvailableNotification);
  EXPECT_TRUE(turnsOn());
  EXPECT_EQ(engine_.account, "5");
}

TEST_F(AgentLinkTest, ASocketThatAcceptsAndNeverAnswersIsNoAgent) {
  auto mute = start({"mute", "0"});
  load();
  EXPECT_FALSE(engine_.turnedOn);
  mute.reset();
  const auto agent = startAgent(0, "after it");
  EXPECT_TRUE(turnsOn());
}

TEST_F(AgentLinkTest, PeersThatSpeakGarbageAreNoAgents) {
  for (const char* kind : {"garbage", "noise"}) {
    const auto peer = start({kind, "0"});
    connector_.reset();
    load();
    EXPECT_FALSE(engine_.turnedOn) << kind;
    EXPECT_EQ(matchRules(bus_.address()).size(), 2U) << kind;  // overlay setting, become available
  }
}

TEST_F(AgentLinkTest, AStoppedAgentTurnsBadgesOffAndIsAskedAgainOnlyWhenItAnnouncesItself) {
  const auto agent = startAgent(0, "sleeper");
  load();
  ASSERT_TRUE(turnsOn());
  agent->signal(SIGSTOP);
  post(kFinderOverlayChanged);
  ASSERT_TRUE(turnsOff());
  // The death is handled; from here on nobody is asked.
  ASSERT_TRUE(runMainLoopUntil([&] { return matchRules(bus_.address()).size() == 2; }));
  post(kFinderOverlayChanged);
  settle();
  EXPECT_FALSE(engine_.turnedOn);
  agent->signal(SIGCONT);
  settle();
  EXPECT_FALSE(engine_.turnedOn);
  post(kIDaemonConnectionBecomeAvailableNotification);
  EXPECT_TRUE(turnsOn());
}

TEST_F(AgentLinkTest, NotificationsOfAnotherObjectDoNotReachTheProcess) {
  const auto agent = startAgent(0, "ours");
  load();
  ASSERT_TRUE(hearsEvents());
  agent->signal(SIGSTOP);  // no events of its own from here on
  settle();
  const int before = engine_.desktops;
  EXPECT_EQ(ranToItsEnd({WEVORA_LINK_PEER, "storm", "100", "another's"}).status, 0);
  settle();
  EXPECT_EQ(engine_.desktops, before);
  int ours = 0;
  for (const auto& rule : matchRules(bus_.address()))
    ours += rule.find("arg0='ours'") != std::string::npos ? 1 : 0;
  EXPECT_EQ(ours, 3);
}

gboolean count(gpointer turns) noexcept {
  ++*static_cast<int*>(turns);
  return G_SOURCE_CONTINUE;
}

TEST_F(AgentLinkTest, AStormOfTenThousandEventsIsHeardWhileTheMainLoopGoesOn) {
  const auto agent = startAgent(0, "stormy");
  load();
  ASSERT_TRUE(turnsOn());
  agent->signal(SIGSTOP);
  settle();
  const int before = engine_.desktops;
  int turns = 0;
  const guint counting = g_timeout_add(1, &count, &turns);
  const ChildProcess storm({WEVORA_LINK_PEER, "storm", "10000", "stormy"});
  EXPECT_TRUE(runMainLoopUntil([&] { return engine_.desktops >= before + 10000; }));
  g_source_remove(counting);
  EXPECT_EQ(engine_.desktops, before + 10000);
  EXPECT_EQ(engine_.paths, std::vector<std::string>{"/volumes/9999"});
  EXPECT_GT(turns, 10);
}

TEST_F(AgentLinkTest, AnotherProgramsSignalsDriveTheLink) {
  const auto agent = startAgent(0, "ours");
  load();
  ASSERT_TRUE(hearsEvents());
  agent->signal(SIGSTOP);
  settle();
  const auto emit = [&](const std::string& name, const std::string& object,
                        const std::string& userInfo) {
    const auto sent = ranToItsEnd({"gdbus", "emit", "--session", "--object-path",
                                   "/com/Wevora/DistributedNotificationCenter", "--signal",
                                   "com.Wevora.DistributedNotificationCenter." + name,
                                   "'" + object + "'", userInfo});
    ASSERT_EQ(sent.status, 0) << sent.errors;
  };
  const std::string event = kIDaemonConnectionWVREventNotification;
  emit(
      event, "ours",
      "{'" + event + "EventsKey': <['Removed']>, '" + event + "PathsKey': <['/Volumes/X/A.TXT']>}");
  EXPECT_TRUE(runMainLoopUntil([&] { return engine_.windows == 1; }));
  EXPECT_EQ(engine_.paths, std::vector<std::string>{"/volumes/x/a.txt"});

  // What makes no sense is an event without paths.
  const int before = engine_.desktops;
  emit(event, "ours", "{'" + event + "EventsKey': <7>, '" + event + "PathsKey': <{'a': <true>}>}");
  EXPECT_TRUE(runMainLoopUntil([&] { return engine_.desktops == before + 1; }));
  EXPECT_EQ(engine_.windows, 1);
  EXPECT_TRUE(engine_.paths.empty());
}

TEST_F(AgentLinkTest, WithoutASessionBusTheAgentIsFoundAndItsDeathIsNoticed) {
  auto agent = startAgent(0, "ours");
  platform::BusNotificationCenter nowhere;
  ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
  connector_.emplace(
      WVAgentConnectorServices{std::string(g_get_user_name()), objects_, nowhere, local_, engine_,
                               [](const Text&) { return std::make_unique<NoSettings>(); }});
  connector_->connect();
  EXPECT_TRUE(engine_.turnedOn);
  agent.reset();
  EXPECT_TRUE(turnsOff());
}

}  // namespace
}  // namespace wevora::testing_host
