#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"

#include <functional>
#include <map>
#include <new>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Connector/DaemonConnectionNames.h"
#include "Connector/DaemonConnectionService.h"
#include "Tests/TestAgent/TestAgent.h"

namespace wevora {
namespace {

using platform::Array;
using platform::Dictionary;
using platform::DistributedNotification;
using platform::Value;
using testing_host::TestAgent;
using Text = std::optional<std::string>;
using Log = std::vector<std::string>;

std::string named(const Text& text) {
  return text.value_or("none");
}

Log joined(std::initializer_list<Log> parts) {
  Log all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// Test doubles that record all calls in one log.

struct Service {
  TestAgent agent;
  std::function<void(std::string_view method)> whenCalled;
  bool takesConnections = true;
  bool conforms = true;
};

class RecordingConnection : public platform::Connection {
 public:
  class Root : public platform::RootProxy {
   public:
    Root(Log& log, Service& service) : log_(log), service_(service) {}
    ~Root() override { log_.emplace_back("release proxy"); }
    bool conformsToProtocol(const platform::WireProtocol& protocol) override {
      log_.push_back("conforms to " + protocol.interfaceName);
      return service_.conforms;
    }
    std::optional<Array> call(const platform::WireProtocol&, std::string_view method,
                              const Array& arguments) override {
      log_.push_back("agent " + std::string(method));
      if (service_.whenCalled) service_.whenCalled(method);
      return callDaemonConnection(service_.agent, std::string(method), arguments);
    }

   private:
    Log& log_;
    Service& service_;
  };

  RecordingConnection(Log& log, Service& service) : log_(log), service_(service) {}
  void enableMultipleThreads() override { log_.emplace_back("enable multiple threads"); }
  std::shared_ptr<platform::RootProxy> rootProxy() override {
    log_.emplace_back("root proxy");
    return std::make_shared<Root>(log_, service_);
  }

 private:
  Log& log_;
  Service& service_;
};

class RecordingObjects : public platform::DistributedObjects {
 public:
  explicit RecordingObjects(Log& log) : log_(log) {}

  Service& publish(std::uint32_t seed) { return services_[nameOf(seed)]; }
  void remove(std::uint32_t seed) { services_.erase(nameOf(seed)); }
  const platform::Connection* connection() const { return connection_.lock().get(); }
  std::weak_ptr<const platform::Connection> weakConnection() const { return connection_; }

  std::shared_ptr<platform::SendPort> portForName(const std::string& name) override {
    log_.push_back("port " + name);
    const auto found = services_.find(name);
    if (found == services_.end()) return nullptr;
    return std::make_shared<Port>(found->second);
  }
  std::shared_ptr<platform::Connection> connectionWithSendPort(
      const std::shared_ptr<platform::SendPort>& sendPort) override {
    log_.emplace_back("connection");
    Service& service = dynamic_cast<Port&>(*sendPort).service;
    if (!service.takesConnections) return nullptr;
    auto connection = std::make_shared<RecordingConnection>(log_, service);
    connection_ = connection;
    return connection;
  }

  static std::string nameOf(std::uint32_t seed) {
    return "com.Wevora.client.connection.alice." + std::to_string(seed);
  }

 private:
  struct Port : platform::SendPort {
    explicit Port(Service& of) : service(of) {}
    Service& service;
  };
  Log& log_;
  std::map<std::string, Service> services_;
  std::weak_ptr<platform::Connection> connection_;
};

class RecordingCenter : public platform::DistributedNotificationCenter {
 public:
  explicit RecordingCenter(Log& log) : log_(log) {}

  std::function<void(const std::string& name)> whenObserved;
  std::function<void(const std::string& name)> whenStopped;

  std::unique_ptr<Observation> observe(const std::string& name, const Text& object,
                                       Handler handler) override {
    log_.push_back("observe " + name + " of " + named(object));
    if (whenObserved) whenObserved(name);
    return std::make_unique<Observer>(*this, name, object, std::move(handler));
  }
  bool post(const DistributedNotification& notification) override {
    const auto observers = observers_;
    for (auto* observer : observers)
      if (observer->matches(notification)) observer->handler(notification);
    return true;
  }
  std::multimap<std::string, std::string> observed() const {
    std::multimap<std::string, std::string> all;
    for (const auto* observer : observers_) all.emplace(observer->name, named(observer->object));
    return all;
  }

 private:
  struct Observer : Observation {
    Observer(RecordingCenter& in, std::string of, Text by, Handler then)
        : center(in), name(std::move(of)), object(std::move(by)), handler(std::move(then)) {
      center.observers_.push_back(this);
    }
    ~Observer() override {
      std::erase(center.observers_, this);
      center.log_.push_back("stop " + name);
      if (center.whenStopped) center.whenStopped(name);
    }
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    bool matches(const DistributedNotification& notification) const {
      return notification.name == name && (!object || object == notification.object);
    }
    RecordingCenter& center;
    const std::string name;
    const Text object;
    const Handler handler;
  };
  Log& log_;
  std::vector<Observer*> observers_;
};

class RecordingEngine : public StatusEngine {
 public:
  explicit RecordingEngine(Log& log) : log_(log) {}
  bool turnedOn = false;
  void setTurnedOn(bool on) override {
    turnedOn = on;
    log_.emplace_back(on ? "turn on" : "turn off");
  }
  void reinit() override { log_.emplace_back("reinit"); }
  void setAccountIdOfPool(const Text& accountId) override {
    log_.push_back("pool account " + named(accountId));
  }
  void reinitPool() override { log_.emplace_back("pool reinit"); }
  void updateWindows() override { log_.emplace_back("windows"); }
  void updateDesktopForce(bool force) override {
    log_.emplace_back(force ? "desktop forced" : "desktop");
  }
  void updateNodesWithPath(std::vector<std::string> paths) override {
    std::string line = "nodes";
    for (const auto& path : paths) line += " " + path;
    log_.push_back(line);
  }

 private:
  Log& log_;
};

class RecordingSettings : public SettingsReader {
 public:
  RecordingSettings(Log& log, const std::optional<Value>& value, const Text& accountId)
      : log_(log), value_(value) {
    log_.push_back("settings of " + named(accountId));
  }
  ~RecordingSettings() override { log_.emplace_back("release settings"); }
  RecordingSettings(const RecordingSettings&) = delete;
  RecordingSettings& operator=(const RecordingSettings&) = delete;
  std::optional<Value> readKey(const std::string& key, const Text& forUser) override {
    log_.push_back("read " + key + " for " + named(forUser));
    return value_;
  }

 private:
  Log& log_;
  const std::optional<Value>& value_;
};

// The expected log of a step.

Log accountChange(const Text& accountId) {
  return {"release settings", "settings of " + named(accountId), "reinit",
          "pool account " + named(accountId), "pool reinit"};
}

Log enableCheck(const Text& accountId, bool on) {
  return joined(
      {accountChange(accountId),
       {"read kFinderOverlayEnabledKey for " + named(accountId), on ? "turn on" : "turn off"}});
}

Log accountQuery(const Log& then) {
  return joined({{"agent accountInfo"}, then});
}

class WVAgentConnectorTest : public ::testing::Test {
 protected:
  void load() {
    connector_.emplace(WVAgentConnectorServices{
        "alice", objects_, center_, local_, engine_, [this](const Text& accountId) {
          if (settingsThrow_) throw std::bad_alloc();
          return std::make_unique<RecordingSettings>(log_, setting_, accountId);
        }});
    connector_->connect();
  }
  /// Loads with an agent at the first seed and clears the log.
  TestAgent& connected() {
    TestAgent& agent = objects_.publish(0).agent;
    load();
    log_.clear();
    return agent;
  }
  void post(const char* name, const Text& object = "agent of a test", Dictionary userInfo = {}) {
    center_.post({name, object, std::move(userInfo)});
  }
  void postEvent(Array events, Array paths) {
    post(kIDaemonConnectionWVREventNotification, "agent of a test",
         {{kIDaemonConnectionWVREventNotificationEventsKey, Value(std::move(events))},
          {kIDaemonConnectionWVREventNotificationPathsKey, Value(std::move(paths))}});
  }
  void postDeath() {
    local_.post({platform::kNSConnectionDidDieNotification, objects_.connection()});
  }
  std::multimap<std::string, std::string> observedWhileConnected(const std::string& object) const {
    return {{kFinderOverlayChanged, "none"},
            {kIDaemonConnectionWVREventNotification, object},
            {kIDaemonConnectionAccountInfoChangedNotification, object},
            {kIDaemonConnectionConnectionStatusChangedNotification, object}};
  }
  std::multimap<std::string, std::string> observedWhileWaiting() const {
    return {{kFinderOverlayChanged, "none"},
            {kIDaemonConnectionBecomeAvailableNotification, "none"}};
  }
  std::vector<std::uint32_t> seedsTried() const {
    std::vector<std::uint32_t> seeds;
    for (const auto& line : log_)
      if (line.starts_with("port "))
        seeds.push_back(static_cast<std::uint32_t>(std::stoul(line.substr(line.rfind('.') + 1))));
    return seeds;
  }

  Log log_;
  RecordingObjects objects_{log_};
  RecordingCenter center_{log_};
  platform::LocalNotificationCenter local_;
  RecordingEngine engine_{log_};
  std::optional<Value> setting_;
  bool settingsThrow_ = false;
  std::optional<WVAgentConnector> connector_;
};

// --- Connecting ----------------------------------------------------------------------------------

TEST_F(WVAgentConnectorTest, ConnectRunsItsStepsInOrder) {
  objects_.publish(1);
  load();
  const Log first = {"settings of 42", "reinit", "pool account 42", "pool reinit"};
  EXPECT_EQ(
      log_,
      joined(
          {{"observe kFinderOverlayChanged of none", "port " + RecordingObjects::nameOf(0),
            "port " + RecordingObjects::nameOf(1), "connection", "enable multiple threads",
            "root proxy", "conforms to com.Wevora.IDaemonConnection",
            "agent distributedNotificationObject"},
           accountQuery(first),
           {"observe kIDaemonConnectionWVREventNotification of agent of a test",
            "agent connectionStatus"},
           accountQuery(enableCheck("42", true)),
           {"reinit", "observe kIDaemonConnectionAccountInfoChangedNotification of agent of a test",
            "observe kIDaemonConnectionConnectionStatusChangedNotification of agent of a test",
            "desktop"},
           accountQuery(enableCheck("42", true))}));
}

TEST_F(WVAgentConnectorTest, WithoutAnAgentItWaitsAndTurnsTheBadgesOff) {
  load();
  const Log first = {"settings of none",
                     "reinit",
                     "pool account none",
                     "pool reinit",
                     "read kFinderOverlayEnabledKey for none",
                     "turn off"};
  Log expected = {"observe kFinderOverlayChanged of none"};
  for (std::uint32_t seed = 0; seed < 30; ++seed)
    expected.push_back("port " + RecordingObjects::nameOf(seed));
  expected.emplace_back("observe kIDaemonConnectionBecomeAvailableNotification of none");
  EXPECT_EQ(log_, joined({expected, first}));
}

TEST_F(WVAgentConnectorTest, AnAgentPublishedUnderSeed29OnlyIsFound) {
  objects_.publish(29);
  load();
  EXPECT_EQ(center_.observed(), observedWhileConnected("agent of a test"));
  EXPECT_TRUE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, AnAgentPublishedUnderSeed30IsNeverFound) {
  objects_.publish(30);
  load();
  EXPECT_EQ(center_.observed(), observedWhileWaiting());
  EXPECT_EQ(seedsTried().back(), 29U);
}

TEST_F(WVAgentConnectorTest, OfAgentsUnderSeeds3And5Seed3IsUsed) {
  objects_.publish(3).agent.object = "three";
  objects_.publish(5).agent.object = "five";
  load();
  EXPECT_EQ(seedsTried(), (std::vector<std::uint32_t>{0, 1, 2, 3}));
  EXPECT_EQ(center_.observed(), observedWhileConnected("three"));
}

TEST_F(WVAgentConnectorTest, AFailedConnectionMeansWaiting) {
  objects_.publish(0).takesConnections = false;
  load();
  EXPECT_EQ(center_.observed(), observedWhileWaiting());
  EXPECT_FALSE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, ARootProxyThatDoesNotConformIsDroppedAndNotCalled) {
  objects_.publish(0).conforms = false;
  load();
  EXPECT_EQ(center_.observed(), observedWhileWaiting());
  EXPECT_FALSE(engine_.turnedOn);
  for (const auto& line : log_) EXPECT_FALSE(line.starts_with("agent ")) << line;
}

TEST_F(WVAgentConnectorTest, AnAgentThatDoesNotConformHidesTheOneUnderALaterSeed) {
  objects_.publish(2).conforms = false;
  objects_.publish(4);
  load();
  EXPECT_EQ(seedsTried(), (std::vector<std::uint32_t>{0, 1, 2}));
  EXPECT_EQ(center_.observed(), observedWhileWaiting());
}

TEST_F(WVAgentConnectorTest, WithoutAUserNameNothingIsLookedUp) {
  WVAgentConnector connector(
      {std::nullopt, objects_, center_, local_, engine_, [this](const Text& accountId) {
         return std::make_unique<RecordingSettings>(log_, setting_, accountId);
       }});
  connector.connect();
  EXPECT_TRUE(seedsTried().empty());
  EXPECT_EQ(center_.observed(), observedWhileWaiting());
}

TEST_F(WVAgentConnectorTest, TheDeathIsNotObservedBeforeTheStatusCheckEnds) {
  Service& service = objects_.publish(0);
  bool called = false;
  bool received = false;
  service.whenCalled = [&](std::string_view method) {
    if (method != "connectionStatus") return;
    called = true;
    const auto before = log_.size();
    postDeath();
    received = log_.size() != before;
  };
  load();
  EXPECT_TRUE(called);
  EXPECT_FALSE(received);
}

TEST_F(WVAgentConnectorTest, ADeathDuringTheLastSubscriptionsIsReceived) {
  objects_.publish(0);
  bool received = false;
  center_.whenObserved = [&](const std::string& name) {
    if (name != kIDaemonConnectionAccountInfoChangedNotification) return;
    log_.clear();
    postDeath();
    received = !log_.empty();
  };
  load();
  EXPECT_TRUE(received);
  EXPECT_FALSE(engine_.turnedOn);
}

// --- The badge setting ---------------------------------------------------------------------------

TEST_F(WVAgentConnectorTest, TheSettingStoredAsNoTurnsBadgesOffEvenWithAnAccount) {
  setting_ = Value(false);
  objects_.publish(0);
  load();
  EXPECT_FALSE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, AnAbsentSettingTurnsBadgesOn) {
  objects_.publish(0);
  load();
  EXPECT_TRUE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, TheBoolValueOfTheSettingIsUsedForAnyType) {
  setting_ = Value("NO");
  objects_.publish(0);
  load();
  EXPECT_FALSE(engine_.turnedOn);
  setting_ = Value(std::int64_t{2});
  post(kFinderOverlayChanged, std::nullopt);
  EXPECT_TRUE(engine_.turnedOn);
  setting_ = Value(Dictionary{});  // neither a number nor a string
  post(kFinderOverlayChanged, std::nullopt);
  EXPECT_FALSE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, AnAbsentAccountRecordTurnsBadgesOff) {
  objects_.publish(0).agent.account.reset();
  load();
  EXPECT_FALSE(engine_.turnedOn);
  EXPECT_EQ(center_.observed(), observedWhileConnected("agent of a test"));
}

TEST_F(WVAgentConnectorTest, ARecordWithoutAClientIdTurnsBadgesOff) {
  objects_.publish(0).agent.account = TestAgent::accountOf(std::nullopt);
  load();
  EXPECT_FALSE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, AChangeOfTheOverlaySettingFromAnySenderIsOneEnableCheck) {
  connected();
  setting_ = Value(false);
  post(kFinderOverlayChanged, "anybody");
  EXPECT_EQ(log_, accountQuery(enableCheck("42", false)));
}

TEST_F(WVAgentConnectorTest, EveryEnableCheckCreatesASettingsReaderAndResetsTheEngineAndThePool) {
  connected();
  connector_->checkEnabled();
  connector_->checkEnabled();
  EXPECT_EQ(log_,
            joined({accountQuery(enableCheck("42", true)), accountQuery(enableCheck("42", true))}));
}

TEST_F(WVAgentConnectorTest, TheOverlaySettingIsFollowedWhileWaitingToo) {
  load();
  log_.clear();
  post(kFinderOverlayChanged, std::nullopt);
  EXPECT_EQ(log_, enableCheck(std::nullopt, false));
}

// --- The connection status -----------------------------------------------------------------------

TEST_F(WVAgentConnectorTest, StatusOneChangesNothing) {
  connected().status = CONNECTION_STATUS_LOGIN_IN_PROGRESS;
  post(kIDaemonConnectionConnectionStatusChangedNotification);
  EXPECT_EQ(log_, Log{"agent connectionStatus"});
  EXPECT_TRUE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, AnyOtherStatusChangesNothing) {
  TestAgent& agent = connected();
  for (const std::int32_t status : {3, -1, 2147483647}) {
    agent.status = status;
    log_.clear();
    post(kIDaemonConnectionConnectionStatusChangedNotification);
    EXPECT_EQ(log_, Log{"agent connectionStatus"});
  }
}

TEST_F(WVAgentConnectorTest, StatusZeroWithAnAccountAndNoSettingLeavesBadgesOnAndResetsTheEngine) {
  connected().status = CONNECTION_STATUS_DID_NOT_LOGGEDIN;
  post(kIDaemonConnectionConnectionStatusChangedNotification);
  EXPECT_EQ(
      log_,
      joined({{"agent connectionStatus"}, accountQuery(enableCheck("42", true)), {"reinit"}}));
  EXPECT_TRUE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, StatusTwoChecksTheSwitchAndThenResetsTheEngine) {
  connected().status = CONNECTION_STATUS_LOGGEDIN;
  post(kIDaemonConnectionConnectionStatusChangedNotification);
  EXPECT_EQ(
      log_,
      joined({{"agent connectionStatus"}, accountQuery(enableCheck("42", true)), {"reinit"}}));
}

TEST_F(WVAgentConnectorTest, AStatusCheckWithoutAProxyDoesNothing) {
  load();
  log_.clear();
  connector_->checkConnectionStatus();
  EXPECT_TRUE(log_.empty());
}

TEST_F(WVAgentConnectorTest, NotificationsOfAnotherObjectAreNotReceived) {
  connected();
  post(kIDaemonConnectionConnectionStatusChangedNotification, "another agent");
  post(kIDaemonConnectionWVREventNotification, "another agent");
  post(kIDaemonConnectionAccountInfoChangedNotification, std::nullopt);
  EXPECT_TRUE(log_.empty());
}

// --- The account ---------------------------------------------------------------------------------

TEST_F(WVAgentConnectorTest, AChangedAccountRecordChangesTheAccountWithoutAnEnableCheck) {
  connected().account = TestAgent::accountOf("43");
  post(kIDaemonConnectionAccountInfoChangedNotification);
  EXPECT_EQ(log_, accountQuery(accountChange("43")));
}

TEST_F(WVAgentConnectorTest, ARecordThatLosesItsAccountLeavesTheBadgesAsTheyWere) {
  connected().account.reset();
  post(kIDaemonConnectionAccountInfoChangedNotification);
  EXPECT_EQ(log_, accountQuery(accountChange(std::nullopt)));
  EXPECT_TRUE(engine_.turnedOn);
}

// --- Events --------------------------------------------------------------------------------------

TEST_F(WVAgentConnectorTest, TwoRemovedAndOnePathAreTwoRefreshesAndOneLowerCasedNode) {
  connected();
  postEvent({Value("Removed"), Value("Removed")}, {Value("/Volumes/X/A.TXT")});
  EXPECT_EQ(log_,
            (Log{"windows", "reinit", "windows", "reinit", "desktop", "nodes /volumes/x/a.txt"}));
}

TEST_F(WVAgentConnectorTest, OtherEventNamesOnlyRefreshTheNodes) {
  connected();
  postEvent({Value("Created"), Value("removed"), Value("Removed ")},
            {Value("/B"), Value("/a"), Value("/\xC3\x84")});
  EXPECT_EQ(log_, (Log{"desktop", "nodes /b /a /\xC3\xA4"}));
}

TEST_F(WVAgentConnectorTest, AnEventWithoutPathsStillRefreshesTheDesktopAndNoNodes) {
  connected();
  postEvent({}, {});
  post(kIDaemonConnectionWVREventNotification);
  EXPECT_EQ(log_, (Log{"desktop", "nodes", "desktop", "nodes"}));
}

TEST_F(WVAgentConnectorTest, NonStringEntriesOfAnEventAreSkipped) {
  connected();
  postEvent({Value(std::int64_t{1}), Value("Removed"), Value(Dictionary{})},
            {Value(true), Value("/A\xFF")});
  post(kIDaemonConnectionWVREventNotification, "agent of a test",
       {{kIDaemonConnectionWVREventNotificationEventsKey, Value("Removed")},
        {kIDaemonConnectionWVREventNotificationPathsKey, Value(1.5)}});
  EXPECT_EQ(log_, (Log{"windows", "reinit", "desktop", "nodes /a\xFF", "desktop", "nodes"}));
}

TEST_F(WVAgentConnectorTest, EventsBeforeAnAgentIsFoundAreNotReceived) {
  load();
  log_.clear();
  postEvent({Value("Removed")}, {Value("/a")});
  EXPECT_TRUE(log_.empty());
}

// --- Death and reconnect -------------------------------------------------------------------------

TEST_F(WVAgentConnectorTest, ADeathRunsItsStepsInOrder) {
  connected();
  postDeath();
  EXPECT_EQ(log_, joined({{"release proxy"},
                          enableCheck(std::nullopt, false),
                          {"stop kIDaemonConnectionAccountInfoChangedNotification",
                           "stop kIDaemonConnectionWVREventNotification",
                           "stop kIDaemonConnectionConnectionStatusChangedNotification",
                           "observe kIDaemonConnectionBecomeAvailableNotification of none"}}));
  EXPECT_EQ(center_.observed(), observedWhileWaiting());
}

TEST_F(WVAgentConnectorTest, AfterADeathASecondOneIsNotReceived) {
  connected();
  postDeath();
  log_.clear();
  postDeath();
  EXPECT_TRUE(log_.empty());
}

TEST_F(WVAgentConnectorTest, TheDeathObserverIsRemovedLast) {
  connected();
  std::size_t deaths = 1;
  center_.whenStopped = [&](const std::string& name) {
    if (name != kIDaemonConnectionConnectionStatusChangedNotification) return;
    const auto before = log_.size();
    postDeath();
    if (log_.size() != before) ++deaths;
  };
  postDeath();
  EXPECT_EQ(deaths, 2U);
}

TEST_F(WVAgentConnectorTest, TheDeathObserverIsRemovedBeforeTheNextAgentIsObserved) {
  connected();
  std::size_t before = 0;
  std::size_t after = 1;
  center_.whenObserved = [&](const std::string&) {
    before = log_.size();
    postDeath();
    after = log_.size();
  };
  postDeath();
  EXPECT_EQ(before, after);
}

TEST_F(WVAgentConnectorTest, TheConnectionIsKeptAfterItsDeathUntilTheNextOne) {
  connected();
  const auto* first = objects_.connection();
  ASSERT_NE(first, nullptr);
  postDeath();
  EXPECT_EQ(objects_.connection(), first);
}

TEST_F(WVAgentConnectorTest, TheNextConnectionReplacesTheOneThatDied) {
  connected();
  const auto first = objects_.weakConnection();
  postDeath();
  post(kIDaemonConnectionBecomeAvailableNotification, std::nullopt);
  EXPECT_TRUE(first.expired());
  EXPECT_NE(objects_.connection(), nullptr);
}

TEST_F(WVAgentConnectorTest, TheDeathOfAnotherConnectionIsNotReceived) {
  connected();
  const int another = 0;
  local_.post({platform::kNSConnectionDidDieNotification, &another});
  EXPECT_TRUE(log_.empty());
}

TEST_F(WVAgentConnectorTest, AnAgentThatReturnsClearsThePoolsAccountBeforeItIsConnected) {
  connected();
  postDeath();
  objects_.publish(0).agent.object = "the next agent";
  log_.clear();
  post(kIDaemonConnectionBecomeAvailableNotification, "anybody");
  ASSERT_GE(log_.size(), 3U);
  EXPECT_EQ(Log(log_.begin(), log_.begin() + 3),
            (Log{"pool account none", "stop kIDaemonConnectionBecomeAvailableNotification",
                 "port " + RecordingObjects::nameOf(0)}));
  EXPECT_EQ(center_.observed(), observedWhileConnected("the next agent"));
  EXPECT_TRUE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, AfterAnAnnouncementWithoutAServiceItWaitsAgain) {
  connected();
  objects_.remove(0);
  connector_->connectionDidDie();
  post(kIDaemonConnectionBecomeAvailableNotification, std::nullopt);
  EXPECT_EQ(center_.observed(), observedWhileWaiting());
  EXPECT_FALSE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, AnAnnouncementWhileConnectedHasNoEffect) {
  connected();
  post(kIDaemonConnectionBecomeAvailableNotification, std::nullopt);
  EXPECT_TRUE(log_.empty());
}

TEST_F(WVAgentConnectorTest, AHundredDeathsAndReturnsLeaveOneObserverOfEachKind) {
  connected();
  for (int round = 0; round < 100; ++round) {
    objects_.remove(static_cast<std::uint32_t>(round % 30));
    const auto next = static_cast<std::uint32_t>((round + 1) % 30);
    objects_.publish(next).agent.object = "agent " + std::to_string(round);
    connector_->connectionDidDie();
    EXPECT_EQ(center_.observed(), observedWhileWaiting());
    post(kIDaemonConnectionBecomeAvailableNotification, std::nullopt);
    EXPECT_EQ(center_.observed(), observedWhileConnected("agent " + std::to_string(round)));
  }
}

TEST_F(WVAgentConnectorTest, FailedStepsDoNotPreventTheObservationsOfItsState) {
  objects_.publish(0);
  settingsThrow_ = true;
  load();
  EXPECT_EQ(center_.observed(), observedWhileConnected("agent of a test"));
  postDeath();
  EXPECT_EQ(center_.observed(), observedWhileWaiting());
  settingsThrow_ = false;
  post(kIDaemonConnectionBecomeAvailableNotification, std::nullopt);
  EXPECT_EQ(center_.observed(), observedWhileConnected("agent of a test"));
  EXPECT_TRUE(engine_.turnedOn);
}

TEST_F(WVAgentConnectorTest, TheOverlaySubscriptionLastsThroughDeathAndReturn) {
  connected();
  postDeath();
  post(kIDaemonConnectionBecomeAvailableNotification, std::nullopt);
  EXPECT_EQ(center_.observed().count(kFinderOverlayChanged), 1U);
}

}  // namespace
}  // namespace wevora
