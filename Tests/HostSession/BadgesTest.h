#pragma once

// What the badges of every host must do, told by what its display shows. A host's own test program
// names its views (INSTANTIATE_TYPED_TEST_SUITE_P); each is a type with
//   using Session = ...;                                  what it is shown in
//   static Session start();                               a session whose file manager does not run
//   static void open(Session&, const std::string& folder, std::size_t items);
//   static constexpr int kScrollSteps = ...;              from the top to the end
//   (ScrolledBadgesTest)

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/HostSession/HostSession.h"
#include "Tests/HostSession/VolumeTest.h"

namespace wevora::testing_host {

inline constexpr const char* kAccount = "7";

template <class View>
class BadgesTest : public VolumeTest {
 protected:
  BadgesTest() : VolumeTest(kAccount) {}

  void open(typename View::Session& session) const { View::open(session, volume.path(), 4); }
};
TYPED_TEST_SUITE_P(BadgesTest);

TYPED_TEST_P(BadgesTest, EachWordHasItsBadgeAndAnItemWithoutOneHasNone) {
  this->scan();
  auto session = TypeParam::start();
  const Agent agent(kAccount);
  this->open(session);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(this->path("Folder"), "red"));
  EXPECT_EQ(session.word(this->database()), "");
}

TYPED_TEST_P(BadgesTest, BadgesThatAreSwitchedOffAreGoneAndComeBackWhenTheyAreSwitchedOn) {
  this->scan();
  auto session = TypeParam::start();
  const Agent agent(kAccount);
  this->open(session);
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  switchBadges(false);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), ""));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), ""));
  EXPECT_TRUE(session.shows(this->path("Folder"), ""));
  switchBadges(true);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), "blue"));
  EXPECT_TRUE(session.shows(this->path("Folder"), "red"));
}

TYPED_TEST_P(BadgesTest, BadgesGoWithTheAgentAndComeBackWithIt) {
  this->scan();
  auto session = TypeParam::start();
  Agent agent(kAccount);
  this->open(session);
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  agent.kill();
  EXPECT_TRUE(session.shows(this->path("kept.txt"), ""));
  EXPECT_TRUE(session.shows(this->path("Folder"), ""));
  const Agent another(kAccount);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
  EXPECT_TRUE(session.shows(this->path("Folder"), "red"));
}

TYPED_TEST_P(BadgesTest, AnAgentThatStartsAfterTheFileManagerIsFound) {
  this->scan();
  auto session = TypeParam::start();
  this->open(session);
  EXPECT_EQ(session.word(this->path("kept.txt")), "");
  const Agent agent(kAccount);
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "green"));
}

TYPED_TEST_P(BadgesTest, AFileThatIsRemovedLeavesNoBadgeToTheOneThatTakesItsPlace) {
  this->scan();
  auto session = TypeParam::start();
  const Agent agent(kAccount);
  this->open(session);
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  std::filesystem::remove(this->path("kept.txt"));
  this->scanAgain();
  agent.tell("Removed", {this->path("kept.txt")});
  EXPECT_TRUE(session.shows(this->path("kept.txt"), "not shown"));
  EXPECT_TRUE(session.shows(this->path("waiting.txt"), "blue"));
}

TYPED_TEST_P(BadgesTest, AnItemThatIsRenamedLosesTheBadgeOfItsOldName) {
  this->scan();
  auto session = TypeParam::start();
  const Agent agent(kAccount);
  this->open(session);
  ASSERT_TRUE(session.shows(this->path("kept.txt"), "green"));
  std::filesystem::rename(this->path("kept.txt"), this->path("other.txt"));
  EXPECT_TRUE(session.shows(this->path("other.txt"), ""));
}

TYPED_TEST_P(BadgesTest, ItemsWithOddNamesHaveTheirBadges) {
  const std::vector<std::string> names = {"two  spaces",  "Caf\xC3\xA9 Zo\xC3\xAB",
                                          "Cafe\xCC\x81", "CAPITALS.TXT",
                                          "a:colon",      "a\nnewline",
                                          "per%20cent",   "question?",
                                          "hash#mark",    "quote's \"both\"",
                                          "back\\slash"};
  std::filesystem::create_directories(this->path("Odd"));
  std::vector<std::string> kept;
  for (const auto& name : names) {
    this->write("Odd/" + name);
    kept.push_back("Odd/" + name);
  }
  this->scan(kept);
  auto session = TypeParam::start();
  const Agent agent(kAccount);
  TypeParam::open(session, this->path("Odd"), names.size());
  for (const auto& name : names)
    EXPECT_TRUE(session.shows(this->path("Odd/" + name), "green")) << name;
}

REGISTER_TYPED_TEST_SUITE_P(BadgesTest, EachWordHasItsBadgeAndAnItemWithoutOneHasNone,
                            BadgesThatAreSwitchedOffAreGoneAndComeBackWhenTheyAreSwitchedOn,
                            BadgesGoWithTheAgentAndComeBackWithIt,
                            AnAgentThatStartsAfterTheFileManagerIsFound,
                            AFileThatIsRemovedLeavesNoBadgeToTheOneThatTakesItsPlace,
                            AnItemThatIsRenamedLosesTheBadgeOfItsOldName,
                            ItemsWithOddNamesHaveTheirBadges);

/// Of views that can show more than the display has room for.
template <class View>
class ScrolledBadgesTest : public BadgesTest<View> {};
TYPED_TEST_SUITE_P(ScrolledBadgesTest);

TYPED_TEST_P(ScrolledBadgesTest, NoCellShowsTheBadgeOfTheItemThatItShowedBefore) {
  constexpr int kFiles = 5000;
  std::filesystem::create_directories(this->path("Many"));
  std::vector<std::string> kept = {"mark", "--account", kAccount, "--synchronized"};
  for (int i = 0; i < kFiles; ++i) {
    const std::string name = "Many/" + std::to_string(10'000 + i);
    std::ofstream(this->path(name)).flush();  // without contents: the volume is small
    if (i % 2 == 0) kept.push_back(this->path(name));
  }
  this->scan();
  agentTool(kept);
  auto session = TypeParam::start();
  const Agent agent(kAccount);
  TypeParam::open(session, this->path("Many"), 8);

  const auto isRight = [&](const Place& cell, const platform::Bitmap& picture) {
    const bool even = (cell.name.back() - '0') % 2 == 0;
    const std::string word = session.badges().wordAt(picture, cell);
    EXPECT_TRUE(word.empty() || word == (even ? "green" : "blue")) << cell.name << " " << word;
    return !word.empty();
  };
  const auto allAreBadged = [&] {
    const auto look = session.screen().look();
    return !look.cells.empty() && look.picture &&
           std::ranges::all_of(look.cells,
                               [&](const auto& cell) { return isRight(cell, *look.picture); });
  };
  ASSERT_TRUE(session.until(allAreBadged));
  std::set<std::string> seen;
  for (int step = 0; step <= 2 * TypeParam::kScrollSteps; ++step) {
    const double down = static_cast<double>(step) / TypeParam::kScrollSteps;
    session.screen().scroll(down <= 1 ? down : 2 - down);
    const auto look = session.screen().look();
    ASSERT_TRUE(look.picture);
    for (const auto& cell : look.cells) {
      isRight(cell, *look.picture);
      seen.insert(cell.name);
    }
  }
  EXPECT_TRUE(session.until(allAreBadged));
  EXPECT_GT(seen.size(), 100U);
}

REGISTER_TYPED_TEST_SUITE_P(ScrolledBadgesTest, NoCellShowsTheBadgeOfTheItemThatItShowedBefore);

}  // namespace wevora::testing_host
