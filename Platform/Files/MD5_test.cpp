#include "Platform/Files/MD5.h"

#include <fstream>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

TEST(MD5OfFile, ReadsBeyondOneChunkAndReportsItsProgress) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("large")) << std::string(40000, 'a');
  std::uint64_t reported = 0;
  EXPECT_EQ(md5OfFile(folder.path("large"), [&](std::uint64_t bytes) { reported += bytes; }),
            "15725c9aaac02fda4d458ad5416f6992");
  EXPECT_EQ(reported, 40000U);
}

TEST(MD5OfFile, IsEmptyForItemsThatCannotBeOpenedOrRead) {
  const TemporaryFolder folder;
  EXPECT_EQ(md5OfFile(folder.path("missing")), std::nullopt);
  EXPECT_EQ(md5OfFile(folder.path()), std::nullopt);  // opens, but cannot be read
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(md5OfFile(folder.path("pipe")), std::nullopt);  // and does not block
  EXPECT_EQ(md5OfFile("/dev/zero"), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
