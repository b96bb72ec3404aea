#include "Platform/Volumes/Volumes.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/MountInfoVolumes.h"

namespace wevora::platform {
namespace {

constexpr const char* kTable =
    "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
    "40 22 8:17 / /media/ann/My\\040Stick rw shared:9 master:2 - vfat /dev/sdb1 rw\n"
    "garbage\n"
    "41 22 8:18 / /media/ann/odd\\134\\012 rw - hfsplus /dev/sdc rw\n"
    "42 40 0:50 / /media/ann/My\\040Stick rw - tmpfs tmpfs rw";

TEST(MountInfo, ReadsUnescapedRootsAndTypesInTheTablesOrder) {
  EXPECT_EQ(volumesFromMountInfo(kTable), (std::vector<Volume>{{"/", "ext4"},
                                                               {"/media/ann/My Stick", "vfat"},
                                                               {"/media/ann/odd\\\n", "hfsplus"},
                                                               {"/media/ann/My Stick", "tmpfs"}}));
}

TEST(MountInfo, MalformedTextHasNoVolumes) {
  EXPECT_TRUE(volumesFromMountInfo("").empty());
  EXPECT_TRUE(volumesFromMountInfo("\n\n1 2 3\n36 35 98:0 / /mnt rw -").empty());
}

TEST(Volumes, TheTopmostOfSeveralVolumesAtOneRootDeterminesTheType) {
  const MountInfoVolumes volumes([] { return std::string(kTable); });
  EXPECT_EQ(volumes.fileSystemTypeOf("/media/ann/My Stick/"), "tmpfs");
  EXPECT_EQ(volumes.fileSystemTypeOf("/"), "ext4");
  EXPECT_EQ(volumes.fileSystemTypeOf("/media/ann"), std::nullopt);
}

TEST(SystemVolumes, ReportTheRootOfThisMachine) {
  EXPECT_TRUE(SystemVolumes().fileSystemTypeOf("/"));
}

}  // namespace
}  // namespace wevora::platform
