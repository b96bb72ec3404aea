#include "Platform/Base/LocalNotificationCenter.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

TEST(LocalNotificationCenter, NotifiesOnlyTheObserversOfTheName) {
  LocalNotificationCenter center;
  int received = 0;
  const auto mine = center.observe("mine", [&](const Notification&) { ++received; });
  const auto other = center.observe("other", [&](const Notification&) { received += 100; });
  center.post({"mine"});
  EXPECT_EQ(received, 1);
}

TEST(LocalNotificationCenter, AnObserverOfOneObjectIgnoresOtherObjects) {
  LocalNotificationCenter center;
  const int mine = 0;
  const int other = 0;
  int received = 0;
  int receivedAll = 0;
  const auto one = center.observe(
      "name", [&](const Notification&) { ++received; }, &mine);
  const auto all = center.observe("name", [&](const Notification&) { ++receivedAll; });
  center.post({"name", &other});
  center.post({"name"});
  EXPECT_EQ(received, 0);
  center.post({"name", &mine});
  EXPECT_EQ(received, 1);
  EXPECT_EQ(receivedAll, 3);
}

TEST(LocalNotificationCenter, DestroyingTheObservationEndsIt) {
  LocalNotificationCenter center;
  int received = 0;
  center.observe("name", [&](const Notification&) { ++received; }).reset();
  center.post({"name"});
  EXPECT_EQ(received, 0);
}

TEST(LocalNotificationCenter, AHandlerThatThrowsDoesNotBlockTheNext) {
  LocalNotificationCenter center;
  bool called = false;
  const auto bad = center.observe(
      "name", [](const Notification&) { throw std::runtime_error("from a handler"); });
  const auto good = center.observe("name", [&](const Notification&) { called = true; });
  center.post({"name"});
  EXPECT_TRUE(called);
}

TEST(LocalNotificationCenter, AHandlerMayEndItsOwnObservation) {
  LocalNotificationCenter center;
  int received = 0;
  std::unique_ptr<LocalNotificationCenter::Observation> once;
  once = center.observe("name", [&](const Notification&) {
    ++received;
    once.reset();
  });
  center.post({"name"});
  center.post({"name"});
  EXPECT_EQ(received, 1);
}

}  // namespace
}  // namespace wevora::platform
