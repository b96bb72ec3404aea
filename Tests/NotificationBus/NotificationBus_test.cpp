// Notifications between processes on a private session bus, including signals of other programs.

#include <algorithm>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>

#include "Platform/Base/GObjectPtr.h"
#include "Platform/Base/UnixAddress.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/ServiceNames.h"
#include "Platform/IPC/Variants.h"
#include "Tests/Leaks/Leaks.h"
#include "Tests/ServiceThread/ServiceThread.h"
#include "Tests/SessionBus/SessionBus.h"

namespace wevora::testing_host {
namespace {

using platform::Array;
using platform::BusNotificationCenter;
using platform::Dictionary;
using platform::DistributedNotification;
using platform::GObjectPtr;
using platform::Value;
using platform::VariantPtr;

constexpr const char* kEvent = "kIDaemonConnectionWVREventNotification";

/// A raw bus connection that can send signals that BusNotificationCenter never sends.
class ForeignSender {
 public:
  explicit ForeignSender(const std::string& address)
      : connection_(g_dbus_connection_new_for_address_sync(
            address.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr)) {}

  /// Consumes floating arguments.
  bool emit(const char* name, GVariant* arguments,
            const char* path = platform::kDistributedNotificationPath) {
    return g_dbus_connection_emit_signal(connection_.get(), nullptr, path,
                                         platform::kDistributedNotificationInterface, name,
                                         arguments, nullptr) != FALSE;
  }
  bool emit(const char* name, const std::string& arguments) {
    const VariantPtr parsed(g_variant_parse(nullptr, arguments.c_str(), nullptr, nullptr, nullptr));
    return parsed && emit(name, parsed.get());
  }

 private:
  GObjectPtr<GDBusConnection> connection_;
};

class NotificationBusTest : public ::testing::Test {
 protected:
  using Observation = std::unique_ptr<BusNotificationCenter::Observation>;

  /// Records received notifications.
  Observation observe(const std::string& name, const std::optional<std::string>& object = {}) {
    auto observation =
        center.observe(name, object, [this](const auto& one) { received.push_back(one); });
    EXPECT_TRUE(observation);
    return observation;
  }
  bool receives(std::size_t count) {
    return runMainLoopUntil([&] { return received.size() >= count; });
  }
  /// Waits until everything that this process has sent has been delivered.
  void settle() {
    bool back = false;
    const auto observation =
        center.observe("Settled", std::nullopt, [&](const auto&) { back = true; });
    ASSERT_TRUE(center.post({"Settled", std::nullopt, {}}));
    ASSERT_TRUE(runMainLoopUntil([&] { return back; }));
  }
  static Outcome gdbusEmit(const std::string& name, const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"gdbus",
                                        "emit",
                                        "--session",
                                        "--object-path",
                                        platform::kDistributedNotificationPath,
                                        "--signal",
                                        platform::kDistributedNotificationInterface + ("." + name)};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runToCompletion(command);
  }

  SessionBus bus;
  BusNotificationCenter center;
  std::vector<DistributedNotification> received;
};

TEST_F(NotificationBusTest, ANotificationReachesAnotherConnectionUnchanged) {
  const auto observation = observe(kEvent);
  BusNotificationCenter other;
  const Dictionary userInfo{{"Paths", Array{"/Volumes/X/\xC3\xA9", "/a\nb"}}, {"On", true}};
  ASSERT_TRUE(other.post({kEvent, "agent", userInfo}));
  ASSERT_TRUE(receives(1));
  EXPECT_EQ(received[0].name, kEvent);
  EXPECT_EQ(received[0].object, "agent");
  EXPECT_EQ(received[0].userInfo, userInfo);
}

TEST_F(NotificationBusTest, TheBusFiltersNotificationsOfOtherObjects) {
  const auto own = observe(kEvent, "mine");
  settle();
  ForeignSender sender(bus.address());
  const auto rules = matchRules(bus.address());
  ASSERT_EQ(std::ranges::count_if(
                rules, [](const auto& rule) { return rule.find(kEvent) != std::string::npos; }),
            1);
  EXPECT_TRUE(std::ranges::any_of(rules, [](const auto& rule) {
    return rule.find(kEvent) != std::string::npos && rule.find("arg0='mine'") != std::string::npos;
  }));
  for (int i = 0; i < 100; ++i) sender.emit(kEvent, "('another', @a{sv} {})");
  sender.emit(kEvent, "('', @a{sv} {})");
  sender.emit(kEvent, "('mine', @a{sv} {})");
  ASSERT_TRUE(receives(1));
  EXPECT_EQ(received[0].object, "mine");
  EXPECT_EQ(received.size(), 1U);
}

TEST_F(NotificationBusTest, AnObserverWithoutAnObjectReceivesAll) {
  const auto observation = observe(kEvent);
  for (const std::optional<std::string>& object :
       {std::optional<std::string>("a"), std::optional<std::string>("b"),
        std::optional<std::string>()})
    ASSERT_TRUE(center.post({kEvent, object, {}}));
  ASSERT_TRUE(receives(3));
  EXPECT_EQ(received[0].object, "a");
  EXPECT_EQ(received[1].object, "b");
  EXPECT_EQ(received[2].object, std::nullopt);
}

TEST_F(NotificationBusTest, AnObjectWithAQuoteInItsNameIsMatchedExactly) {
  const std::string odd = "it's \\ 'odd', arg1='x'";
  const auto observation = observe(kEvent, odd);
  ASSERT_TRUE(center.post({kEvent, "it's", {}}));
  ASSERT_TRUE(center.post({kEvent, odd, {}}));
  ASSERT_TRUE(receives(1));
  EXPECT_EQ(received[0].object, odd);
}

TEST_F(NotificationBusTest, OtherNamesAndOtherPathsAreNotReceived) {
  const auto observation = observe(kEvent);
  ForeignSender sender(bus.address());
  sender.emit("kFinderOverlayChanged", "('', @a{sv} {})");
  sender.emit(kEvent, g_variant_new("(sa{sv})", "elsewhere", nullptr), "/elsewhere");
  sender.emit(kEvent, "('here', @a{sv} {})");
  ASSERT_TRUE(receives(1));
  EXPECT_EQ(received[0].object, "here");
}

TEST_F(NotificationBusTest, AnEndedObservationReceivesNothing) {
  auto observation = observe(kEvent);
  ASSERT_TRUE(center.post({kEvent, std::nullopt, {}}));
  settle();
  const auto before = received.size();
  ASSERT_TRUE(center.post({kEvent, std::nullopt, {}}));
  ASSERT_TRUE(center.flush());
  observation.reset();
  settle();
  EXPECT_EQ(received.size(), before);
}

TEST_F(NotificationBusTest, AnObserverMayEndItsOwnObservation) {
  int calls = 0;
  Observation own;
  own = center.observe(kEvent, std::nullopt, [&](const auto&) {
    ++calls;
    own.reset();
  });
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(center.post({kEvent, std::nullopt, {}}));
  settle();
  EXPECT_EQ(calls, 1);
}

TEST_F(NotificationBusTest, MalformedArgumentsAreIgnored) {
  const auto observation = observe(kEvent);
  ForeignSender sender(bus.address());
  const std::vector<std::string> malformed = {
      "()", "(7,)", "('agent',)", "('agent', 7)", "('agent', ['/a'])", "(['agent'], {'a': 1})"};
  for (const auto& arguments : malformed) ASSERT_TRUE(sender.emit(kEvent, arguments)) << arguments;
  ASSERT_TRUE(receives(malformed.size()));
  for (const auto& one : received) EXPECT_TRUE(one.userInfo.empty());
}

TEST_F(NotificationBusTest, UnexpectedTypesInTheUserInfoArePreserved) {
  const auto observation = observe(kEvent);
  ForeignSender sender(bus.address());
  ASSERT_TRUE(sender.emit(kEvent,
                          "('agent', {'Paths': <7>, 'Events': <{'a': <true>}>, 'Mixed': "
                          "<[<'x'>, <8>]>, 'Nothing': <(1, 'x')>, 'Nested': <<<'deep'>>>})"));
  ASSERT_TRUE(receives(1));
  EXPECT_EQ(received[0].userInfo, (Dictionary{{"Paths", std::int64_t{7}},
                                              {"Events", Dictionary{{"a", true}}},
                                              {"Mixed", Array{"x", std::int64_t{8}}},
                                              {"Nested", "deep"}}));
}

TEST_F(NotificationBusTest, ThousandsOfEntriesAndOddPathsArriveUnchanged) {
  const auto observation = observe(kEvent);
  Array paths = {"",
                 "/",
                 "..",
                 "/a//b/../",
                 "/a\nb\tc",
                 "/\xF0\x9F\x98\x80",
                 "relative",
                 "/bytes \xFF\xFE",
                 std::string(20000, 'x')};
  for (int i = 0; i < 50000; ++i) paths.emplace_back("/Volumes/X/" + std::to_string(i));
  Dictionary userInfo{{"Paths", paths}};
  for (int i = 0; i < 5000; ++i) userInfo.append("Key " + std::to_string(i), true);
  BusNotificationCenter other;
  ASSERT_TRUE(other.post({kEvent, "agent", userInfo}));
  ASSERT_TRUE(receives(1));
  const auto* arrived = platform::valueAs<Array>(received[0].userInfo, "Paths");
  ASSERT_NE(arrived, nullptr);
  EXPECT_EQ(*arrived, paths);
  EXPECT_EQ(received[0].userInfo.size(), 5001U);
}

TEST_F(NotificationBusTest, ANotificationThatDBusCannotRepresentIsRejected) {
  const auto observation = observe(kEvent);
  EXPECT_FALSE(center.post({"no name", std::nullopt, {}}));
  EXPECT_FALSE(center.post({"", std::nullopt, {}}));
  EXPECT_FALSE(center.post({kEvent, "not UTF-8 \xFF", {}}));
  EXPECT_EQ(center.observe(kEvent, "not UTF-8 \xFF", [](const auto&) {}), nullptr);
  Value deep = "deep";
  for (int i = 0; i < 200; ++i) deep = Array{true, std::move(deep)};
  EXPECT_FALSE(center.post({kEvent, std::nullopt, {{"Deep", std::move(deep)}}}));
  EXPECT_EQ(center.observe("no name", std::nullopt, [](const auto&) {}), nullptr);
  ASSERT_TRUE(center.post({kEvent, "last", {}}));
  ASSERT_TRUE(
      runMainLoopUntil([&] { return !received.empty() && received.back().object == "last"; }));
}

TEST_F(NotificationBusTest, AUserInfoOfMaximumDepthArrivesUnchanged) {
  const auto observation = observe(kEvent);
  Value deep = "deep";
  for (int i = 0; i < 15; ++i) deep = Dictionary{{"inner", std::move(deep)}};
  const Dictionary userInfo{{"Deep", deep}};
  ASSERT_TRUE(center.post({kEvent, std::nullopt, userInfo}));
  ASSERT_TRUE(receives(1));
  EXPECT_EQ(received[0].userInfo, userInfo);
  EXPECT_FALSE(center.post({kEvent, std::nullopt, {{"Deeper", userInfo}}}));
}

TEST_F(NotificationBusTest, AThousandObservationsLeakNoRuleNoDescriptorAndNoHandler) {
  settle();
  const auto rules = matchRules(bus.address()).size();
  const auto descriptors = openDescriptors();
  const auto held = std::make_shared<int>(0);
  for (int round = 0; round < 1000; ++round) {
    const auto one = center.observe(kEvent, "object " + std::to_string(round % 7),
                                    [held](const auto&) { ++*held; });
    const auto two =
        center.observe("kFinderOverlayChanged", std::nullopt, [held](const auto&) { ++*held; });
    ASSERT_TRUE(one && two);
  }
  settle();
  EXPECT_EQ(held.use_count(), 1);
  // The first count may include a descriptor that the bus call had not closed yet.
  EXPECT_LE(openDescriptors(), descriptors);
  EXPECT_EQ(matchRules(bus.address()).size(), rules);
}

TEST_F(NotificationBusTest, AThousandConcurrentObserversAllReceiveAndAreAllRemoved) {
  {
    std::vector<Observation> observations;
    for (int i = 0; i < 1000; ++i) observations.push_back(observe(kEvent));
    ASSERT_TRUE(center.post({kEvent, std::nullopt, {}}));
    ASSERT_TRUE(receives(1000));
    EXPECT_EQ(matchRules(bus.address()).size(), 1000U);
  }
  settle();
  settle();  // until the rule of the first settle is removed
  EXPECT_LE(matchRules(bus.address()).size(), 1U);
}

TEST_F(NotificationBusTest, ABurstOfTenThousandSignalsDoesNotBlockTheMainLoop) {
  std::size_t count = 0;
  std::size_t longest = 0;
  std::size_t since = 0;
  const auto observation = center.observe(kEvent, std::nullopt, [&](const auto&) {
    ++count;
    longest = std::max(longest, ++since);
  });
  const guint other = g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer counter) -> gboolean {
        *static_cast<std::size_t*>(counter) = 0;
        return G_SOURCE_CONTINUE;
      },
      &since, nullptr);
  settle();
  BusNotificationCenter sender;
  for (int i = 0; i < 10000; ++i)
    ASSERT_TRUE(sender.post({kEvent, "agent", {{"Paths", Array{"/Volumes/X/A.TXT"}}}}));
  ASSERT_TRUE(sender.flush());
  EXPECT_TRUE(runMainLoopUntil([&] { return count == 10000; }));
  g_source_remove(other);
  EXPECT_LE(longest, 64U);
}

TEST_F(NotificationBusTest, GdbusEmitIsReceived) {
  const auto observation = observe(kEvent, "agent");
  const auto sent = gdbusEmit(kEvent, {"'agent'", "{'Paths': <['/Volumes/X/A.TXT']>}"});
  ASSERT_EQ(sent.status, 0) << sent.errors;
  ASSERT_TRUE(receives(1));
  EXPECT_EQ(received[0].userInfo, (Dictionary{{"Paths", Array{"/Volumes/X/A.TXT"}}}));
}

TEST_F(NotificationBusTest, GdbusMonitorShowsPostedNotifications) {
  // gdbus monitors one connection: that of this center.
  const auto observation = observe(kEvent);
  settle();
  const auto names = runToCompletion(
      {"gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path",
       "/org/freedesktop/DBus", "--method", "org.freedesktop.DBus.ListNames"});
  ASSERT_NE(names.output.find(":1.0"), std::string::npos) << names.output;
  ChildProcess monitor({"gdbus", "monitor", "--session", "--dest", ":1.0", "--object-path",
                        platform::kDistributedNotificationPath});
  ASSERT_TRUE(monitor.waitForOutput("is owned by :1.0"));
  const std::string line = "DistributedNotificationCenter." + std::string(kEvent) +
                           " ('agent', {'Paths': <['/Volumes/X/A.TXT']>})\n";
  // gdbus starts listening some time after it prints this line.
  bool seen = false;
  for (int round = 0; round < 50 && !seen; ++round) {
    ASSERT_TRUE(center.post({kEvent, "agent", {{"Paths", Array{"/Volumes/X/A.TXT"}}}}));
    seen = monitor.waitForOutput(line, std::chrono::milliseconds(200));
  }
  EXPECT_TRUE(seen) << monitor.output();
}

TEST_F(NotificationBusTest, TheProcessSurvivesTheEndOfTheBus) {
  const auto observation = observe(kEvent);
  settle();
  bus.stop();
  EXPECT_TRUE(runMainLoopUntil([&] { return !center.post({kEvent, std::nullopt, {}}); }));
  EXPECT_FALSE(center.flush());
  observe("kFinderOverlayChanged").reset();
}

TEST_F(NotificationBusTest, ObserversReceiveAgainAfterARestartOfTheBus) {
  const auto before = observe(kEvent, "object");
  const auto idle = observe("kIdle");
  auto ending = observe("kEnding");
  settle();
  bus.stop();
  ASSERT_TRUE(runMainLoopUntil([&] { return !center.post({kEvent, "object", {}}); }));
  ending.reset();
  const auto meanwhile = observe("kMeanwhile");
  bus.start();
  ASSERT_TRUE(runMainLoopUntil([&] { return center.post({kEvent, "object", {}}); }));
  ASSERT_TRUE(center.post({"kMeanwhile", std::nullopt, {}}));
  ASSERT_TRUE(receives(2));
  EXPECT_EQ(received[0].name, kEvent);
  EXPECT_EQ(received[1].name, "kMeanwhile");
  EXPECT_EQ(matchRules(bus.address()).size(), 3U);
}

TEST_F(NotificationBusTest, ABusThatStartsLaterIsConnected) {
  bus.stop();
  const auto observation = observe(kEvent);
  EXPECT_FALSE(center.post({kEvent, std::nullopt, {}}));
  bus.start();
  ASSERT_TRUE(runMainLoopUntil([&] { return center.post({kEvent, std::nullopt, {}}); }));
  EXPECT_TRUE(receives(1));
}

TEST(NoSessionBusTest, ObservingSucceedsAndPostingReturnsFalse) {
  const platform::TemporaryFolder folder;
  ::setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
  const std::vector<std::string> addresses = {"", "unix:path=/nowhere", "garbage",
                                              "unix:", "tcp:host=127.0.0.1,port=1"};
  for (const auto& address : addresses) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    BusNotificationCenter center;
    EXPECT_TRUE(center.observe(kEvent, std::nullopt, [](const auto&) {})) << address;
    EXPECT_FALSE(center.post({kEvent, std::nullopt, {}})) << address;
    EXPECT_FALSE(center.flush()) << address;
  }
  ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
  BusNotificationCenter center;
  EXPECT_TRUE(center.observe(kEvent, std::nullopt, [](const auto&) {}));
  EXPECT_FALSE(center.post({kEvent, std::nullopt, {}}));
}

TEST(NoSessionBusTest, ConnectingToAnUnresponsiveBusTimesOut) {
  const platform::TemporaryFolder folder;
  const std::string path = folder.path("bus");
  const platform::Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const auto address = platform::UnixAddress::of(path);
  ASSERT_EQ(::bind(listener.get(), address->get(), platform::UnixAddress::size()), 0);
  ASSERT_EQ(::listen(listener.get(), 8), 0);
  ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);
  BusNotificationCenter center;
  EXPECT_TRUE(center.observe(kEvent, std::nullopt, [](const auto&) {}));
  EXPECT_FALSE(center.post({kEvent, std::nullopt, {}}));
}

}  // namespace
}  // namespace wevora::testing_host
