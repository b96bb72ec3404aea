#include "Tests/SessionBus/SessionBus.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "Platform/IPC/BusNotificationCenter.h"
#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/ServiceThread/ServiceThread.h"

namespace wevora::testing_host {
namespace {

TEST(SessionBusTest, NotificationsArriveAndTheEnvironmentIsRestored) {
  ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
  {
    const SessionBus bus;
    EXPECT_EQ(std::getenv("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    EXPECT_EQ(std::getenv("XDG_RUNTIME_DIR"), bus.runtimeFolder());
    platform::BusNotificationCenter center;
    bool received = false;
    const auto observation =
        center.observe("Something", std::nullopt, [&](const auto&) { received = true; });
    ASSERT_TRUE(observation);
    EXPECT_TRUE(center.post({"Something", std::nullopt, {}}));
    EXPECT_TRUE(runMainLoopUntil([&] { return received; }));
  }
  EXPECT_STREQ(std::getenv("DBUS_SESSION_BUS_ADDRESS"), "unix:path=/nowhere");
}

TEST(SessionBusTest, ItStartsNoServices) {
  const SessionBus bus;
  const auto names = runToCompletion({"gdbus", "call", "--session", "--dest",
                                      "org.freedesktop.DBus", "--object-path", "/", "--method",
                                      "org.freedesktop.DBus.ListActivatableNames"});
  EXPECT_EQ(names.status, 0) << names.errors;
  EXPECT_EQ(names.output, "(['org.freedesktop.DBus'],)\n");
}

TEST(SessionBusTest, AStoppedBusAcceptsNoNotifications) {
  SessionBus bus;
  bus.stop();
  platform::BusNotificationCenter center;
  EXPECT_FALSE(center.post({"Something", std::nullopt, {}}));
}

}  // namespace
}  // namespace wevora::testing_host
