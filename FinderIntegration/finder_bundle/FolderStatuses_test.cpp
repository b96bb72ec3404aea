#include "FinderIntegration/finder_bundle/FolderStatuses.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

#include "Tests/Doubles/VirtualClock.h"

namespace wevora {
namespace {

TEST(FolderStatusesTest, FindsOnlyNamesThatWereSet) {
  const platform::VirtualClock clock;
  FolderStatuses statuses;
  EXPECT_EQ(statuses.find("a"), nullptr);
  statuses.set("a", {"green", clock});
  statuses.set("a", {"blue", clock});
  statuses.set("", {"red", clock});
  EXPECT_EQ(statuses.find("a")->string(), "blue");
  EXPECT_EQ(statuses.find("")->string(), "red");
  EXPECT_EQ(statuses.find("aa"), nullptr);
  EXPECT_EQ(statuses.size(), 2U);
}

TEST(FolderStatusesTest, BehavesLikeAMapThroughThousandsOfRandomChanges) {
  const platform::VirtualClock clock;
  std::mt19937 random(7);
  FolderStatuses statuses;
  std::map<std::string, std::string> expected;
  for (int i = 0; i < 5000; ++i) {
    const std::string name = "item " + std::to_string(random() % 700);
    if (random() % 16 == 0) {
      statuses.remove(name);
      expected.erase(name);
    } else {
      const std::string word = random() % 2 == 0 ? "green" : "blue";
      statuses.set(name, {word, clock});
      expected[name] = word;
    }
  }
  EXPECT_EQ(statuses.size(), expected.size());
  for (int i = 0; i < 700; ++i) {
    const std::string name = "item " + std::to_string(i);
    const auto* found = statuses.find(name);
    const auto wanted = expected.find(name);
    ASSERT_EQ(found != nullptr, wanted != expected.end()) << name;
    if (found != nullptr) {
      EXPECT_EQ(found->string(), wanted->second);
    }
  }
}

TEST(FolderStatusesTest, ACopyDoesNotChangeWithItsOriginal) {
  const platform::VirtualClock clock;
  FolderStatuses original;
  original.set("a", {"green", clock});
  const FolderStatuses copy = original;
  original.remove("a");
  EXPECT_EQ(original.find("a"), nullptr);
  EXPECT_EQ(copy.find("a")->string(), "green");
}

}  // namespace
}  // namespace wevora
