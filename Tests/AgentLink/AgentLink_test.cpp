// The bundle's side of the agent link. Everything but the engine is real: sockets, a session bus,
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

/// Records the calls of the connector to the engine.
class CountingEngine : public StatusEngine {
 public:
  bool turnedOn = false;
  Text account;
  int desktops = 0;
  int windows = 0;
  std::vector<std::string> paths;
  WVFinderTools* tools = nullptr;  ///< redraw the windows; null without a host

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

/// Forwards to real services and counts look-ups, connects and open connections.
class CountingObjects : public platform::DistributedObjects {
 public:
  explicit CountingObjects(platform::DistributedObjects& real) : real_(real) {}

  int lookups = 0;
  int connects = 0;
  /// The number of connections that are alive.
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

/// The notification names in the match rules, sorted.
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
    settle();  // connects to the bus and opens GLib's per-process descriptors
    descriptors_ = openDescriptors();
  }
  /// All agents have ended: the link returns to waiting, and without the connector nothing remains.
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
  /// Waits until the bus has exactly one match rule for each of these names.
  bool observes(const std::vector<std::string>& names) {
    return runMainLoopUntil([&] {
      g_main_context_wakeup(nullptr);
      return namesIn(matchRules(bus_.address())) == names;
    });
  }
  /// Expects exactly one connection, with its observers.
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
  bool receivesEvents() {
    const int before = engine_.desktops;
    return runMainLoopUntil([&] { return engine_.desktops > before + 2; });
  }
  void post(const char* name) { ASSERT_TRUE(center_.post({name, std::nullopt, {}})); }
  /// Waits until everything that this process has sent has been delivered.
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
  std::size_t descriptors_ = 0;  ///< open descriptors without a link
  bool onTheBus_ = true;
};

TEST_F(AgentLinkTest, AnAgentThatStartsLateIsConnected) {
  load();
  EXPECT_FALSE(engine_.turnedOn);
  const auto agent = startAgent(0, "late");
  EXPECT_TRUE(turnsOn());
  EXPECT_EQ(engine_.account, "42");
  EXPECT_TRUE(receivesEvents());
  EXPECT_EQ(engine_.paths, std::vector<std::string>{"/volumes/a"});
  expectOneLink();
}

TEST_F(AgentLinkTest, AnAgentKilledTwoHundredTimesIsReconnectedWithoutLeaks) {
  load();
  auto agent = startAgent(29, "agent");
  ASSERT_TRUE(turnsOn());
  ASSERT_TRUE(receivesEvents());
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
  EXPECT_TRUE(receivesEvents());
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

TEST_F(AgentLinkTest, AStoppedAgentWithALowerSeedDoesNotHideALiveOne) {
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
  EXPECT_EQ(objects_.connects, 2);  // no new connect to the unresponsive agent
  expectOneLink();
}

TEST_F(AgentLinkTest, AnUnresponsiveSocketIsNotAnAgent) {
  auto peer = start({"unresponsive", "0"});
  load();
  EXPECT_FALSE(engine_.turnedOn);
  peer.reset();
  const auto agent = startAgent(0, "after it");
  EXPECT_TRUE(turnsOn());
}

TEST_F(AgentLinkTest, PeersThatSendGarbageAreNotAgents) {
  for (const char* kind : {"garbage", "noise"}) {
    const auto peer = start({kind, "0"});
    connector_.reset();
    load();
    EXPECT_FALSE(engine_.turnedOn) << kind;
    EXPECT_TRUE(observes(kObservedWhileWaiting)) << kind;
  }
}

TEST_F(AgentLinkTest, AStoppedAgentTurnsBadgesOffAndIsRetriedOnlyAfterAnAnnouncement) {
  const auto agent = startAgent(0, "sleeper");
  load();
  ASSERT_TRUE(turnsOn());
  agent->signal(SIGSTOP);
  post(kFinderOverlayChanged);
  ASSERT_TRUE(turnsOff());
  // The death has been handled; from now on nothing is looked up.
  ASSERT_TRUE(observes(kObservedWhileWaiting));
  const int lookups = objects_.lookups;
  for (int i = 0; i < 3; ++i) post(kFinderOverlayChanged);
  settle();
  EXPECT_FALSE(engine_.turnedOn);
  EXPECT_EQ(objects_.lookups, lookups);
  // An announcement triggers a look-up, but the stopped agent has no port and does not block.
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
  ASSERT_TRUE(receivesEvents());
  agent->signal(SIGSTOP);  // stop its own events
  settle();
  const int before = engine_.desktops;
  EXPECT_EQ(runToCompletion({WEVORA_LINK_PEER, "storm", "100", "another's"}).status, 0);
  settle();
  EXPECT_EQ(engine_.desktops, before);
  int ours = 0;
  for (const auto& rule : matchRules(bus_.address()))
    ours += rule.find("arg0='ours'") != std::string::npos ? 1 : 0;
  EXPECT_EQ(ours, 3);
}

/// A host with one window that redraws continuously.
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

  /// How often the bundle has visited the window's items.
  int visits() const { return window_->view->redraws; }
  /// The maximum number of visits between two dispatches of the host's drawing.
  int longest() const { return longest_; }
  int dispatches() const { return dispatches_; }
  int redrawsOf(std::size_t item) const { return window_->items[item].controlView->redraws; }

 private:
  static gboolean draw(gpointer data) noexcept {
    auto* self = static_cast<BusyHost*>(data);
    ++self->dispatches_;
    self->longest_ = std::max(self->longest_, self->visits() - self->before_);
    self->before_ = self->visits();
    return G_SOURCE_CONTINUE;
  }

  RecordingHost host_;
  platform::SystemClock clock_;
  platform::GLibDispatch dispatch_;
  WVFinderTools tools_{host_.runtime, dispatch_.mainQueue(), clock_};
  std::shared_ptr<Browser> window_;
  int before_ = 0;
  int longest_ = 0;
  int dispatches_ = 0;
  guint drawing_;
};

TEST_F(AgentLinkTest, ABurstOfTenThousandEventsDoesNotBlockTheMainLoop) {
  const auto agent = startAgent(0, "stormy");
  load();
  ASSERT_TRUE(turnsOn());
  agent->signal(SIGSTOP);
  settle();
  const int before = engine_.desktops;
  const BusyHost host(engine_);
  const ChildProcess storm({WEVORA_LINK_PEER, "storm", "10000", "stormy"});
  EXPECT_TRUE(runMainLoopUntil([&] { return host.visits() >= 10000; }));
  engine_.tools = nullptr;
  EXPECT_EQ(engine_.desktops, before + 10000);
  EXPECT_EQ(engine_.paths, std::vector<std::string>{"/volumes/9999"});
  EXPECT_EQ(host.redrawsOf(0), 1);
  EXPECT_EQ(host.redrawsOf(1), 1);
  EXPECT_LE(host.longest(), 64);
  EXPECT_GE(host.dispatches(), 2 * 10000 / 64);  // each event is delivered, then visits the items
}

TEST_F(AgentLinkTest, SignalsOfOtherProgramsAreHandled) {
  const auto agent = startAgent(0, "ours");
  load();
  ASSERT_TRUE(receivesEvents());
  agent->signal(SIGSTOP);
  settle();
  const auto emit = [&](const std::string& name, const std::string& object,
                        const std::string& userInfo) {
    const auto sent = runToCompletion({"gdbus", "emit", "--session", "--object-path",
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

  // Mistyped arguments make an event without paths.
  const int before = engine_.desktops;
  emit(event, "ours", "{'" + event + "EventsKey': <7>, '" + event + "PathsKey': <{'a': <true>}>}");
  EXPECT_TRUE(runMainLoopUntil([&] { return engine_.desktops == before + 1; }));
  EXPECT_EQ(engine_.windows, 1);
  EXPECT_TRUE(engine_.paths.empty());
}

TEST_F(AgentLinkTest, WithoutASessionBusTheAgentIsConnectedAndItsDeathIsDetected) {
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
