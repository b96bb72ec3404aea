#include "Platform/Base/LocalNotificationCenter.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

TEST(LocalNotificationCenter, TellsTheObserversOfTheNameAndNoOthers) {
  LocalNotificationCenter center;
  int heard = 0;
  const auto mine = center.observe("mine", [&](const Notification&) { ++heard; });
  const auto other = center.observe("other", [&](const Notification&) { heard += 100; });
  center.post({"mine"});
  EXPECT_EQ(heard, 1);
}

TEST(LocalNotificationCenter, AnObserverOfOneObjectHearsNothingOfAnother) {
  LocalNotificationCenter center;
  const int mine = 0;
  const int other = 0;
  int heard = 0;
  int heardAll = 0;
  const auto one = center.observe(
      "name", [&](const Notification&) { ++heard; }, &mine);
  const auto all = center.observe("name", [&](const Notification&) { ++heardAll; });
  center.post({"name", &other});
  center.post({"name"});
  EXPECT_EQ(heard, 0);
  center.post({"name", &mine});
  EXPECT_EQ(heard, 1);
  EXPECT_EQ(heardAll, 3);
}

TEST(LocalNotificationCenter, AnObservationEndsWithItsObject) {
  LocalNotificationCenter center;
  int heard = 0;
  center.observe("name", [&](const Notification&) { ++heard; }).reset();
  center.post({"name"});
  EXPECT_EQ(heard, 0);
}

TEST(LocalNotificationCenter, AHandlerThatThrowsDoesNotSilenceTheNext) {
  LocalNotificationCenter center;
  bool told = false;
  const auto bad = center.observe(
      "name", [](const Notification&) { throw std::runtime_error("from a handler"); });
  const auto good = center.observe("name", [&](const Notification&) { told = true; });
  center.post({"name"});
  EXPECT_TRUE(told);
}

TEST(LocalNotificationCenter, AHandlerMayEndItsOwnObservation) {
  LocalNotificationCenter center;
  int heard = 0;
  std::unique_ptr<LocalNotificationCenter::Observation> once;
  once = center.observe("name", [&](const Notification&) {
    ++heard;
    once.reset();
  });
  center.post({"name"});
  center.post({"name"});
  EXPECT_EQ(heard, 1);
}

}  // namespace
}  // namespace wevora::platform
