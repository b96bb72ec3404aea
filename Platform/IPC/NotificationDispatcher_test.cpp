#include "Platform/IPC/NotificationDispatcher.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/ServiceThread/ServiceThread.h"

namespace wevora::platform {
namespace {

using testing_host::runMainLoopUntil;

VariantPtr arguments(const char* text) {
  VariantPtr parsed(g_variant_parse(nullptr, text, nullptr, nullptr, nullptr));
  EXPECT_TRUE(parsed) << text;
  return parsed;
}

TEST(NotificationOfTest, TheObjectAndTheUserInfoAreRead) {
  const auto notification =
      notificationOf("Name", arguments("('agent', {'Paths': <['/a']>, 'On': <true>})").get());
  EXPECT_EQ(notification.name, "Name");
  EXPECT_EQ(notification.object, "agent");
  EXPECT_EQ(notification.userInfo, (Dictionary{{"Paths", Array{"/a"}}, {"On", true}}));
}

TEST(NotificationOfTest, AnEmptyObjectIsNullopt) {
  EXPECT_EQ(notificationOf("Name", arguments("('', @a{sv} {})").get()).object, std::nullopt);
}

TEST(NotificationOfTest, MissingOrMistypedArgumentsAreIgnored) {
  for (const char* text : {"()", "(7,)", "(7, 'x')", "(['agent'], {'a': 1})", "({'a': <1>}, '')"}) {
    const auto notification = notificationOf("Name", arguments(text).get());
    EXPECT_EQ(notification.object, std::nullopt) << text;
    EXPECT_TRUE(notification.userInfo.empty()) << text;
  }
  for (const char* text : {"('agent',)", "('agent', 7)", "('agent', ['a'])", "('agent', <true>)"}) {
    const auto notification = notificationOf("Name", arguments(text).get());
    EXPECT_EQ(notification.object, "agent") << text;
    EXPECT_TRUE(notification.userInfo.empty()) << text;
  }
}

TEST(NotificationOfTest, ArgumentsAfterTheSecondAreIgnored) {
  const auto notification = notificationOf("Name", arguments("('a', {'k': <7>}, 8, 'x')").get());
  EXPECT_EQ(notification.object, "a");
  EXPECT_EQ(notification.userInfo, (Dictionary{{"k", std::int64_t{7}}}));
}

constexpr const char* kNothing = "('', @a{sv} {})";

TEST(NotificationDispatcherTest, NotificationsAreDeliveredInOrderFromTheMainLoop) {
  std::vector<std::string> received;
  NotificationDispatcher dispatcher([&](const auto& one) { received.push_back(one.name); });
  std::vector<std::string> sent;
  for (int i = 0; i < 1000; ++i) {
    sent.push_back(std::to_string(i));
    dispatcher.add(sent.back(), arguments(kNothing));
  }
  EXPECT_TRUE(received.empty());
  ASSERT_TRUE(runMainLoopUntil([&] { return received.size() == sent.size(); }));
  EXPECT_EQ(received, sent);
}

TEST(NotificationDispatcherTest, ABurstDoesNotStarveTheHostsOtherSources) {
  for (const int priority : {G_PRIORITY_DEFAULT, G_PRIORITY_HIGH_IDLE + 20}) {
    std::size_t received = 0;
    std::size_t longest = 0;
    std::size_t since = 0;
    NotificationDispatcher dispatcher([&](const auto&) {
      ++received;
      longest = std::max(longest, ++since);
    });
    const guint other = g_idle_add_full(
        priority,
        [](gpointer count) -> gboolean {
          *static_cast<std::size_t*>(count) = 0;
          return G_SOURCE_CONTINUE;
        },
        &since, nullptr);
    for (int i = 0; i < 10000; ++i) dispatcher.add("Name", arguments(kNothing));
    EXPECT_TRUE(runMainLoopUntil([&] { return received == 10000; }));
    g_source_remove(other);
    EXPECT_LE(longest, 64U) << priority;
  }
}

TEST(NotificationDispatcherTest, NotificationsOfAnotherThreadAreDeliveredOnTheOwnersThread) {
  int received = 0;
  const auto own = std::this_thread::get_id();
  NotificationDispatcher dispatcher(
      [&](const auto&) { received += std::this_thread::get_id() == own ? 1 : 1000; });
  std::thread([&] {
    for (int i = 0; i < 100; ++i) dispatcher.add("Name", arguments(kNothing));
  }).join();
  ASSERT_TRUE(runMainLoopUntil([&] { return received >= 100; }));
  EXPECT_EQ(received, 100);
}

TEST(NotificationDispatcherTest, ACallbackThatThrowsDoesNotBlockTheNext) {
  int received = 0;
  NotificationDispatcher dispatcher([&](const auto&) {
    if (++received == 1) throw std::runtime_error("thrown");
  });
  for (int i = 0; i < 2; ++i) dispatcher.add("Name", arguments("()"));
  EXPECT_TRUE(runMainLoopUntil([&] { return received == 2; }));
}

TEST(NotificationDispatcherTest, TheCallbackMayDestroyTheDispatcherAndTheRestIsDropped) {
  int received = 0;
  std::optional<NotificationDispatcher> dispatcher;
  dispatcher.emplace([&](const auto&) {
    ++received;
    dispatcher.reset();
  });
  for (int i = 0; i < 3; ++i) dispatcher->add("Name", arguments("()"));
  ASSERT_TRUE(runMainLoopUntil([&] { return !dispatcher; }));
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
  EXPECT_EQ(received, 1);
}

}  // namespace
}  // namespace wevora::platform
