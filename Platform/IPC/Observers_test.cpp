#include "Platform/IPC/Observers.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

TEST(ObserversTest, ThoseOfTheNameAndOfTheObjectOrOfAllHear) {
  Observers observers;
  std::string heard;
  const auto note = [&](const char* who) {
    return [&heard, who](const DistributedNotification&) { heard += who; };
  };
  const auto all = observers.add({"Name", std::nullopt, note("a")});
  const auto one = observers.add({"Name", "object", note("o")});
  const auto nobodys = observers.add({"Name", "", note("n")});
  const auto other = observers.add({"Other", std::nullopt, note("x")});
  observers.tell({"Name", "object", {}});
  EXPECT_EQ(std::exchange(heard, ""), "ao");
  observers.tell({"Name", "another", {}});
  EXPECT_EQ(std::exchange(heard, ""), "a");
  observers.tell({"Name", std::nullopt, {}});
  EXPECT_EQ(std::exchange(heard, ""), "an");
}

TEST(ObserversTest, OneMayEndItselfAndTheOneAfterItAndAddAnother) {
  Observers observers;
  std::vector<std::shared_ptr<const Observers::Observer>> kept;
  int calls = 0;
  for (int i = 0; i < 2; ++i)
    kept.push_back(observers.add(
        {"Name", std::nullopt, [&](const auto&) {
           ++calls;
           kept.clear();
           kept.push_back(observers.add({"Name", std::nullopt, [&](const auto&) { ++calls; }}));
         }}));
  observers.tell({"Name", std::nullopt, {}});
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(observers.all(), kept);
  observers.tell({"Name", std::nullopt, {}});
  EXPECT_EQ(calls, 2);
}

TEST(ObserversTest, WhatOneThrowsEndsThere) {
  Observers observers;
  bool heard = false;
  const auto first = observers.add(
      {"Name", std::nullopt, [](const auto&) { throw std::runtime_error("thrown"); }});
  const auto second = observers.add({"Name", std::nullopt, [&](const auto&) { heard = true; }});
  observers.tell({"Name", std::nullopt, {}});
  EXPECT_TRUE(heard);
}

}  // namespace
}  // namespace wevora::platform
