#include "Platform/Files/Listing.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

TEST(ForEachEntryTest, ReportsEveryChildOnceWithItsOwnKind) {
  const TemporaryFolder folder;
  std::ofstream(folder.path(".file")) << "x";
  std::filesystem::create_directories(folder.path("folder/deeper"));
  std::filesystem::create_directory_symlink("folder", folder.path("link"));
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  std::map<std::string, ItemKind> seen;
  EXPECT_TRUE(forEachEntry(folder.path(), [&](std::string_view name, ItemKind kind) {
    EXPECT_TRUE(seen.emplace(name, kind).second);
  }));
  EXPECT_EQ(seen, (std::map<std::string, ItemKind>{{".file", ItemKind::file},
                                                   {"folder", ItemKind::folder},
                                                   {"link", ItemKind::link},
                                                   {"pipe", ItemKind::other}}));
  for (const auto& [name, kind] : seen) EXPECT_EQ(kindOfItem(folder.path(name)), kind);
  EXPECT_EQ(kindOfItem(folder.path("missing")), ItemKind::unknown);
}

TEST(ForEachEntryTest, ReturnsFalseForAnythingButAReadableFolder) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "x";
  const auto mustNotBeCalled = [](std::string_view, ItemKind) { FAIL(); };
  EXPECT_FALSE(forEachEntry(folder.path("file"), mustNotBeCalled));
  EXPECT_FALSE(forEachEntry(folder.path("missing"), mustNotBeCalled));
  EXPECT_FALSE(forEachEntry("", mustNotBeCalled));
}

}  // namespace
}  // namespace wevora::platform
