#include "Platform/IPC/Observers.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

TEST(ObserversTest, ObserversMatchByNameAndByObject) {
  Observers observers;
  std::string received;
  const auto record = [&](const char* who) {
    return [&received, who](const DistributedNotification&) { received += who; };
  };
  const auto all = observers.add({"Name", std::nullopt, record("a")});
  const auto one = observers.add({"Name", "object", record("o")});
  const auto withoutObject = observers.add({"Name", "", record("n")});
  const auto other = observers.add({"Other", std::nullopt, record("x")});
  observers.deliver({"Name", "object", {}});
  EXPECT_EQ(std::exchange(received, ""), "ao");
  observers.deliver({"Name", "another", {}});
  EXPECT_EQ(std::exchange(received, ""), "a");
  observers.deliver({"Name", std::nullopt, {}});
  EXPECT_EQ(std::exchange(received, ""), "an");
}

TEST(ObserversTest, AHandlerMayRemoveAndAddObservers) {
  Observers observers;
  std::vector<std::shared_ptr<const Observers::Observer>> alive;
  int calls = 0;
  for (int i = 0; i < 2; ++i)
    alive.push_back(observers.add(
        {"Name", std::nullopt, [&](const auto&) {
           ++calls;
           alive.clear();
           alive.push_back(observers.add({"Name", std::nullopt, [&](const auto&) { ++calls; }}));
         }}));
  observers.deliver({"Name", std::nullopt, {}});
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(observers.all(), alive);
  observers.deliver({"Name", std::nullopt, {}});
  EXPECT_EQ(calls, 2);
}

TEST(ObserversTest, AHandlerThatThrowsDoesNotBlockTheNext) {
  Observers observers;
  bool received = false;
  const auto first = observers.add(
      {"Name", std::nullopt, [](const auto&) { throw std::runtime_error("thrown"); }});
  const auto second = observers.add({"Name", std::nullopt, [&](const auto&) { received = true; }});
  observers.deliver({"Name", std::nullopt, {}});
  EXPECT_TRUE(received);
}

}  // namespace
}  // namespace wevora::platform
