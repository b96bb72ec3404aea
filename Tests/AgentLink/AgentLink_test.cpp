// The bundle's side of the agent link, with everything real but the engine: sockets, a session bus,
// and peers in other processes.

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>

#include "Connector/DaemonConnectionNames.h"
#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"
#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"
#include "Platform/Dispatch/GLibDispatch.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/SocketConnections.h"
#include "Tests/Leaks/Leaks.h"
#include "Tests/RecordingHost/RecordingHost.h"
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
  WVFinderTools* tools = nullptr;  ///< that redraw, where a host is there

  void setTurnedOn(bool on) override { turnedOn = on; }
  void reinit() override {}
  void setAccountIdOfPool(const Text& accountId) override { account = accountId; }
  void reinitPool() override {}
  void updateWindows() override { ++windows; }
  void updateDesktopForce(bool /*force*/) override { ++desktops; }
  void updateNodesWithPath(std::vector<std::string> of) override {
    paths = of;
    if (tools != nullptr) tools->updateNodesWithPath(std::move(of));
  }
};

class NoSettings : public SettingsReader {
 public:
  std::optional<platform::Value> readKey(const std::string&, const Text&) override {
    return std::nullopt;
  }
};

/// The services of this user, and what was asked of them.
class CountingObjects : public platform::DistributedObjects {
 public:
  explicit CountingObjects(platform::DistributedObjects& real) : real_(real) {}

  int lookups = 0;
  int connects = 0;
  /// Connections that are kept.
  std::size_t connections() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(made_, [](const auto& one) { return !one.expired(); }));
  }

  std::shared_ptr<platform::SendPort> portForName(const std::string& name) override {
    ++lookups;
    return real_.portForName(name);
  }
  std::shared_ptr<platform::Connection> connectionWithSendPort(
      const std::shared_ptr<platform::SendPort>& sendPort) override {
    ++connects;
    auto made = real_.connectionWithSendPort(sendPort);
    if (made) made_.push_back(made);
    return made;
  }

 private:
  platform::DistributedObjects& real_;
  std::vector<std::weak_ptr<platform::Connection>> made_;
};

/// The names of the notifications that rules are about, in their order.
std::vector<std::string> namesIn(const std::vector<std::string>& rules) {
  std::vector<std::string> names;
  for (const auto& rule : rules) {
    const auto begin = rule.find("member='") + std::string("member='").size();
    names.push_back(rule.substr(begin, rule.find('\'', begin) - begin));
  }
  std::ranges::sort(names);
  return names;
}

const std::vector<std::string> kObservedWhileWaiting = {
    kFinderOverlayChanged, kIDaemonConnectionBecomeAvailableNotification};
const std::vector<std::string> kObservedWhileConnected = {
    kFinderOverlayChanged, kIDaemonConnectionAccountInfoChangedNotification,
    kIDaemonConnectionConnectionStatusChangedNotification, kIDaemonConnectionWVREventNotification};

class AgentLinkTest : public ::testing::Test {
 protected:
  void SetUp() override {
    settle();  // the road to the bus, and all that GLib opens once
    descriptors_ = openDescriptors();
  }
  /// The tests' agents are gone: what each of them leaves is a link that waits, and then nothing.
  void TearDown() override {
    EXPECT_TRUE(turnsOff());
    if (onTheBus_) {
      EXPECT_TRUE(observes(kObservedWhileWaiting));
    }
    connector_.reset();
    EXPECT_TRUE(observes({}));
    EXPECT_EQ(objects_.connections(), 0U);
    EXPECT_TRUE(runMainLoopUntil([&] {
      g_main_context_wakeup(nullptr);
      return openDescriptors() <= descriptors_;
    })) << openDescriptors()
        << " instead of " << descriptors_;
  }
  /// Whether the bus comes to hold exactly one rule for each of these.
  bool observes(const std::vector<std::string>& names) {
    return runMainLoopUntil([&] {
      g_main_context_wakeup(nullptr);
      return namesIn(matchRules(bus_.address())) == names;
    });
  }
  /// Connected, once.
  void expectOneLink() {
    EXPECT_TRUE(engine_.turnedOn);
    EXPECT_TRUE(observes(kObservedWhileConnected));
    EXPECT_EQ(objects_.connections(), 1U);
  }

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
  platform::SocketConnections sockets_{local_};
  CountingObjects objects_{sockets_};
  platform::BusNotificationCenter center_;
  std::optional<WVAgentConnector> connector_;
  std::size_t descriptors_ = 0;  ///< that are open without a link
  bool onTheBus_ = true;
};

TEST_F(AgentLinkTest, AnAgentThatStartsLateIsFollowed) {
  load();
  EXPECT_FALSE(engine_.turnedOn);
  const auto agent = startAgent(0, "late");
  EXPECT_TRUE(turnsOn());
  EXPECT_EQ(engine_.account, "42");
  EXPECT_TRUE(hearsEvents());
  EXPECT_EQ(engine_.paths, std::vector<std::string>{"/volumes/a"});
  expectOneLink();
}

TEST_F(AgentLinkTest, AnAgentKilledTwoHundredTimesIsFollowedEachTimeAndNothingIsLeaked) {
  load();
  auto agent = startAgent(29, "agent");
  ASSERT_TRUE(turnsOn());
  ASSERT_TRUE(hearsEvents());
  const auto descriptors = openDescriptors();
  expectOneLink();
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
  expectOneLink();
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
  expectOneLink();
}

TEST_F(AgentLinkTest, AStoppedAgentUnderALowerSeedDoesNotStandBeforeALiveOne) {
  const auto stopped = startAgent(0, "stopped", "0");
  load();
  ASSERT_TRUE(turnsOn());
  ASSERT_EQ(engine_.account, "0");
  stopped->signal(SIGSTOP);
  post(kFinderOverlayChanged);
  ASSERT_TRUE(turnsOff());
  ASSERT_TRUE(observes(kObservedWhileWaiting));
  const auto live = startAgent(5, "live", "5");
  EXPECT_TRUE(turnsOn());
  EXPECT_EQ(engine_.account, "5");
  EXPECT_EQ(objects_.connects, 2);  // none more to the one that does not answer
  expectOneLink();
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
    EXPECT_TRUE(observes(kObservedWhileWaiting)) << kind;
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
  ASSERT_TRUE(observes(kObservedWhileWaiting));
  const int lookups = objects_.lookups;
  for (int i = 0; i < 3; ++i) post(kFinderOverlayChanged);
  settle();
  EXPECT_FALSE(engine_.turnedOn);
  EXPECT_EQ(objects_.lookups, lookups);
  // Nor is it waited for when somebody announces himself: it has no port.
  post(kIDaemonConnectionBecomeAvailableNotification);
  settle();
  EXPECT_FALSE(engine_.turnedOn);
  EXPECT_EQ(objects_.lookups, lookups + 30);
  EXPECT_EQ(objects_.connects, 1);
  agent->signal(SIGCONT);
  post(kIDaemonConnectionBecomeAvailableNotification);
  EXPECT_TRUE(turnsOn());
  expectOneLink();
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

/// A host with one window, which is as busy drawing as can be.
class BusyHost {
 public:
  explicit BusyHost(CountingEngine& engine)
      : window_(host_.addBrowserWindow({"/Volumes/0", "/Volumes/9999"})),
        drawing_(g_idle_add_full(G_PRIORITY_HIGH_IDLE + 20, &draw, this, nullptr)) {
    engine.tools = &tools_;
  }
  ~BusyHost() { g_source_remove(drawing_); }
  BusyHost(const BusyHost&) = delete;
  BusyHost& operator=(const BusyHost&) = delete;

  /// How often the bundle has walked through the window's items.
  int walks() const { return window_->view->redraws; }
  /// The most of it between two turns.
  int longest() const { return longest_; }
  int turns() const { return turns_; }
  int redrawsOf(std::size_t item) const { return window_->items[item].controlView->redraws; }

 private:
  static gboolean draw(gpointer data) noexcept {
    auto* self = static_cast<BusyHost*>(data);
    ++self->turns_;
    self->longest_ = std::max(self->longest_, self->walks() - self->before_);
    self->before_ = self->walks();
    return G_SOURCE_CONTINUE;
  }

  RecordingHost host_;
  platform::SystemClock clock_;
  platform::GLibDispatch dispatch_;
  WVFinderTools tools_{host_.runtime, dispatch_.mainQueue(), clock_};
  std::shared_ptr<Browser> window_;
  int before_ = 0;
  int longest_ = 0;
  int turns_ = 0;
  guint drawing_;
};

TEST_F(AgentLinkTest, AStormOfTenThousandEventsIsHeardWhileTheMainLoopGoesOn) {
  const auto agent = startAgent(0, "stormy");
  load();
  ASSERT_TRUE(turnsOn());
  agent->signal(SIGSTOP);
  settle();
  const int before = engine_.desktops;
  const BusyHost host(engine_);
  const ChildProcess storm({WEVORA_LINK_PEER, "storm", "10000", "stormy"});
  EXPECT_TRUE(runMainLoopUntil([&] { return host.walks() >= 10000; }));
  engine_.tools = nullptr;
  EXPECT_EQ(engine_.desktops, before + 10000);
  EXPECT_EQ(engine_.paths, std::vector<std::string>{"/volumes/9999"});
  EXPECT_EQ(host.redrawsOf(0), 1);
  EXPECT_EQ(host.redrawsOf(1), 1);
  EXPECT_LE(host.longest(), 64);
  EXPECT_GE(host.turns(), 2 * 10000 / 64);  // each event is heard, and then walked for
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
  onTheBus_ = false;
  EXPECT_TRUE(engine_.turnedOn);
  agent.reset();
  EXPECT_TRUE(turnsOff());
}

}  // namespace
}  // namespace wevora::testing_host
