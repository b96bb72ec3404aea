#include "Platform/DistributedNotifications/Deliveries.h"

#include <stdexcept>
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

TEST(NotificationOfTest, AnObjectAndAUserInfoAreTaken) {
  const auto notification =
      notificationOf("Name", arguments("('agent', {'Paths': <['/a']>, 'On': <true>})").get());
  EXPECT_EQ(notification.name, "Name");
  EXPECT_EQ(notification.object, "agent");
  EXPECT_EQ(notification.userInfo, (Dictionary{{"Paths", Array{"/a"}}, {"On", true}}));
}

TEST(NotificationOfTest, AnEmptyObjectIsNone) {
  EXPECT_EQ(notificationOf("Name", arguments("('', @a{sv} {})").get()).object, std::nullopt);
}

TEST(NotificationOfTest, WhatIsMissingOrOfAnotherTypeIsAbsent) {
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

TEST(NotificationOfTest, ArgumentsBehindTheSecondAreNotLookedAt) {
  const auto notification = notificationOf("Name", arguments("('a', {'k': <7>}, 8, 'x')").get());
  EXPECT_EQ(notification.object, "a");
  EXPECT_EQ(notification.userInfo, (Dictionary{{"k", std::int64_t{7}}}));
}

class DeliveriesTest : public testing::Test {
 protected:
  using Handler = Deliveries::Handler;
  static std::shared_ptr<Handler> observer(Handler handler) {
    return std::make_shared<Handler>(std::move(handler));
  }
  Deliveries deliveries;
};

TEST_F(DeliveriesTest, NotificationsComeInTheirOrderFromTheMainLoop) {
  std::vector<std::string> heard;
  const auto handler = observer([&](const auto& one) { heard.push_back(one.name); });
  std::vector<std::string> sent;
  for (int i = 0; i < 1000; ++i) {
    sent.push_back(std::to_string(i));
    deliveries.add(handler, sent.back(), arguments("('', @a{sv} {})"));
  }
  EXPECT_TRUE(heard.empty());
  ASSERT_TRUE(runMainLoopUntil([&] { return heard.size() == sent.size(); }));
  EXPECT_EQ(heard, sent);
}

TEST_F(DeliveriesTest, ABurstLeavesTurnsToTheHostsOtherSources) {
  std::size_t heard = 0;
  std::size_t longest = 0;
  std::size_t since = 0;
  const auto handler = observer([&](const auto&) {
    ++heard;
    longest = std::max(longest, ++since);
  });
  const guint other = g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer count) -> gboolean {
        *static_cast<std::size_t*>(count) = 0;
        return G_SOURCE_CONTINUE;
      },
      &since, nullptr);
  for (int i = 0; i < 10000; ++i) deliveries.add(handler, "Name", arguments("('', @a{sv} {})"));
  EXPECT_TRUE(runMainLoopUntil([&] { return heard == 10000; }));
  g_source_remove(other);
  EXPECT_LE(longest, 64U);
}

TEST_F(DeliveriesTest, AnObserverThatIsGoneHearsNothing) {
  int gone = 0;
  int heard = 0;
  auto ended = observer([&](const auto&) { ++gone; });
  const auto handler = observer([&](const auto&) { ++heard; });
  deliveries.add(ended, "Name", arguments("()"));
  deliveries.add(handler, "Name", arguments("()"));
  ended.reset();
  ASSERT_TRUE(runMainLoopUntil([&] { return heard == 1; }));
  EXPECT_EQ(gone, 0);
}

TEST_F(DeliveriesTest, AnObserverMayEndItselfAndTheOneAfterIt) {
  std::vector<std::shared_ptr<Handler>> observers;
  int calls = 0;
  bool last = false;
  for (int i = 0; i < 2; ++i)
    observers.push_back(observer([&](const auto&) {
      ++calls;
      observers.clear();
    }));
  for (const auto& one : observers) deliveries.add(one, "Name", arguments("()"));
  const auto end = observer([&](const auto&) { last = true; });
  deliveries.add(end, "Name", arguments("()"));
  ASSERT_TRUE(runMainLoopUntil([&] { return last; }));
  EXPECT_EQ(calls, 1);
}

TEST_F(DeliveriesTest, WhatAnObserverThrowsEndsThere) {
  int heard = 0;
  const auto handler = observer([&](const auto&) {
    if (++heard == 1) throw std::runtime_error("thrown");
  });
  deliveries.add(handler, "Name", arguments("()"));
  deliveries.add(handler, "Name", arguments("()"));
  EXPECT_TRUE(runMainLoopUntil([&] { return heard == 2; }));
}

TEST(DeliveriesEndTest, TheyMayEndInsideACall) {
  auto deliveries = std::make_unique<Deliveries>();
  int heard = 0;
  const auto handler = std::make_shared<Deliveries::Handler>([&](const auto&) {
    ++heard;
    deliveries.reset();
  });
  deliveries->add(handler, "Name", arguments("()"));
  deliveries->add(handler, "Name", arguments("()"));
  EXPECT_TRUE(runMainLoopUntil([&] { return heard == 2; }));
  EXPECT_FALSE(deliveries);
}

}  // namespace
}  // namespace wevora::platform
