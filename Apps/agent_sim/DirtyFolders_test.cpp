#include "Apps/agent_sim/DirtyFolders.h"

#include <gtest/gtest.h>

namespace wevora::agent_sim {
namespace {

using Taken = std::vector<DirtyFolder>;

TEST(DirtyFoldersTest, AFolderIsQueuedOnceInFifoOrder) {
  DirtyFolders folders;
  folders.addItem("/b", "x");
  folders.addItem("/a", "y");
  folders.addItem("/b", "z");
  EXPECT_EQ(folders.take(9), (Taken{{"/b", false, {{"x", "z"}}}, {"/a", false, {{"y"}}}}));
  EXPECT_TRUE(folders.empty());
}

TEST(DirtyFoldersTest, ADeepScanNeedsNoNames) {
  DirtyFolders folders;
  folders.addItem("/a", "x");
  folders.addDeep("/a");
  folders.addItem("/a", "y");
  EXPECT_EQ(folders.take(1), (Taken{{"/a", true, {}}}));
}

TEST(DirtyFoldersTest, TooManyNamesBecomeAllItems) {
  DirtyFolders folders;
  for (int i = 0; i < 300; ++i) folders.addItem("/a", std::to_string(i));
  EXPECT_EQ(folders.take(1), (Taken{{"/a", false, {}}}));
}

TEST(DirtyFoldersTest, AFolderThatIsPutBackComesFirstAndIsMergedWithLaterItems) {
  DirtyFolders folders;
  for (const auto* path : {"/a", "/b", "/c"}) folders.addItem(path, "x");
  auto taken = folders.take(2);
  folders.addItem("/b", "y");
  folders.putBack(std::move(taken));
  EXPECT_EQ(folders.take(9),
            (Taken{{"/a", false, {{"x"}}}, {"/c", false, {{"x"}}}, {"/b", false, {{"x", "y"}}}}));
}

}  // namespace
}  // namespace wevora::agent_sim
