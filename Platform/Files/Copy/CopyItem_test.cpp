#include <algorithm>
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Files/Copy/FileOperations.h"
#include "Platform/Files/FileStat.h"
#include "Tests/Doubles/DescriptorLimit.h"
#include "Tests/Doubles/FaultInjectingFileSystem.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

namespace fs = std::filesystem;
using Call = FaultInjectingFileSystem::Call;

class CopyItemTest : public testing::Test {
 protected:
  void write(const std::string& name, const std::string& text) {
    std::ofstream(folder.path(name)) << text;
  }
  std::string read(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(folder.path(name)).rdbuf();
    return text.str();
  }
  std::error_code copy(const std::string& from, const std::string& to) {
    return operations.copyItem(folder.path(from), folder.path(to));
  }
  /// The names in the folder, including what a failed copy has left behind.
  std::vector<std::string> names(const std::string& below = "") {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder.path(below)))
      found.push_back(entry.path().filename().string());
    std::ranges::sort(found);
    return found;
  }

  std::optional<std::string> attribute(const std::string& name, const char* key) {
    char value[256];
    const auto length = ::lgetxattr(folder.path(name).c_str(), key, value, sizeof value);
    if (length < 0) return std::nullopt;
    return std::string(value, static_cast<std::size_t>(length));
  }
  /// Replaces a folder by a link to another one.
  void replaceByLink(const std::string& name, const std::string& target) {
    fs::rename(folder.path(name), folder.path(name + " moved"));
    fs::create_directory_symlink(folder.path(target), folder.path(name));
  }

  const TemporaryFolder folder;
  FaultInjectingFileSystem calls;
  std::uint64_t reported = 0;
  SystemFileOperations operations{calls, [this](std::uint64_t bytes) { reported += bytes; }};
  const std::string large = std::string(700'000, 'a') + "end";
};

TEST_F(CopyItemTest, CopiesAFileAndReportsItsBytes) {
  write("a", large);
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_EQ(read("b"), large);
  EXPECT_EQ(reported, large.size());
  EXPECT_EQ(names(), (std::vector<std::string>{"a", "b"}));
}

TEST_F(CopyItemTest, WithoutKernelCopyTheBytesAreReadAndWritten) {
  calls.disableKernelCopy();
  write("a", large);
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_EQ(read("b"), large);
  EXPECT_EQ(reported, large.size());
}

TEST_F(CopyItemTest, AKernelCopyThatFailsHalfwayIsFinishedByReadingAndWriting) {
  calls.fail(Call::clone, EOPNOTSUPP);
  calls.fail(Call::copyRange, EIO, 1);
  write("a", "");
  fs::resize_file(folder.path("a"), 40 << 20);
  std::fstream(folder.path("a"), std::ios::in | std::ios::out).write(large.data(), 100'000);
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_TRUE(operations.contentsEqual(folder.path("a"), folder.path("b")));
}

TEST_F(CopyItemTest, HolesArePreserved) {
  calls.fail(Call::clone, EOPNOTSUPP);
  write("a", "begin");
  fs::resize_file(folder.path("a"), 64 << 20);
  std::ofstream(folder.path("a"), std::ios::app) << "end";
  ASSERT_FALSE(copy("a", "b"));
  const auto status = statOfTarget(folder.path("b"));
  ASSERT_TRUE(status);
  EXPECT_EQ(status->st_size, (64 << 20) + 3);
  EXPECT_LT(status->st_blocks * 512, 1 << 20);
  EXPECT_TRUE(operations.contentsEqual(folder.path("a"), folder.path("b")));
  EXPECT_GE(reported, static_cast<std::uint64_t>(status->st_size));  // includes the comparison
}

TEST_F(CopyItemTest, AProcFileIsReadToItsEndThoughItsSizeIsZero) {
  EXPECT_FALSE(operations.copyItem("/proc/version", folder.path("b")));
  EXPECT_TRUE(read("b").starts_with("Linux"));
}

TEST_F(CopyItemTest, PreservesModeDatesAndExtendedAttributes) {
  write("a", "x");
  ASSERT_EQ(::setxattr(folder.path("a").c_str(), "user.note", "text", 4, 0), 0);
  ::chmod(folder.path("a").c_str(), 0640);
  const timespec dates[] = {{1'000'000'000, 1}, {1'200'000'000, 123'456'789}};
  ::utimensat(AT_FDCWD, folder.path("a").c_str(), dates, 0);
  ASSERT_FALSE(copy("a", "b"));
  const auto status = statOfTarget(folder.path("b"));
  ASSERT_TRUE(status);
  EXPECT_EQ(status->st_mode & 07777U, 0640U);
  EXPECT_EQ(status->st_mtim.tv_sec, 1'200'000'000);
  EXPECT_EQ(status->st_mtim.tv_nsec, 123'456'789);
  EXPECT_EQ(attribute("a", "user.note"), "text");
  EXPECT_EQ(attribute("b", "user.note"), "text");
}

TEST_F(CopyItemTest, CopiesFoldersWithTheirLinksModesAndDates) {
  fs::create_directories(folder.path("a/locked"));
  fs::create_directories(folder.path("a/empty"));
  write("a/locked/file", "x");
  write(
      "a/"
      "\xFF odd",
      "y");
  fs::create_symlink("locked/file", folder.path("a/link"));
  fs::create_symlink("nowhere", folder.path("a/dangling"));
  ::chmod(folder.path("a/locked").c_str(), 0500);
  const timespec dates[] = {{1'000'000'000, 0}, {1'200'000'000, 0}};
  ::utimensat(AT_FDCWD, folder.path("a/link").c_str(), dates, AT_SYMLINK_NOFOLLOW);
  ::utimensat(AT_FDCWD, folder.path("a").c_str(), dates, 0);
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_TRUE(operations.contentsEqual(folder.path("a"), folder.path("b")));
  EXPECT_EQ(fs::read_symlink(folder.path("b/link")), "locked/file");
  EXPECT_EQ(fs::read_symlink(folder.path("b/dangling")), "nowhere");
  const auto locked = statOf(folder.path("b/locked"));
  const auto link = statOf(folder.path("b/link"));
  const auto top = statOf(folder.path("b"));
  ASSERT_TRUE(locked && link && top);
  EXPECT_EQ(locked->st_mode & 07777U, 0500U);
  EXPECT_EQ(link->st_mtim.tv_sec, 1'200'000'000);
  EXPECT_EQ(top->st_mtim.tv_sec, 1'200'000'000);
  EXPECT_FALSE(operations.removeItem(folder.path("b")));
  EXPECT_FALSE(fs::exists(folder.path("b")));
  ::chmod(folder.path("a/locked").c_str(), 0700);
}

TEST_F(CopyItemTest, CopiesALinkAsALink) {
  write("a", "x");
  fs::create_symlink("a", folder.path("link"));
  EXPECT_FALSE(copy("link", "b"));
  EXPECT_EQ(fs::read_symlink(folder.path("b")), "a");
}

TEST_F(CopyItemTest, FailsWhenAnyKindOfItemExistsAtTheDestination) {
  write("a", "new");
  write("b", "old");
  fs::create_directory(folder.path("folder"));
  fs::create_symlink("nowhere", folder.path("link"));
  EXPECT_EQ(copy("a", "b"), std::errc::file_exists);
  EXPECT_EQ(copy("a", "folder"), std::errc::file_exists);
  EXPECT_EQ(copy("a", "link"), std::errc::file_exists);
  EXPECT_EQ(copy("a", "a"), std::errc::file_exists);
  EXPECT_EQ(read("b"), "old");
}

TEST_F(CopyItemTest, ADestinationThatAppearsMeanwhileIsNotReplaced) {
  write("a", "new");
  calls.before(Call::renameNoReplace, [this] { write("b", "theirs"); });
  EXPECT_EQ(copy("a", "b"), std::errc::file_exists);
  EXPECT_EQ(read("b"), "theirs");
  EXPECT_EQ(names(), (std::vector<std::string>{"a", "b"}));
}

/// A volume without RENAME_NOREPLACE, whose rename(2) would replace an existing item.
class PlainRenameTest : public CopyItemTest {
 protected:
  PlainRenameTest() {
    calls.disableRenameNoReplace();
    write("a", "new");
    fs::create_directory(folder.path("folder"));
    write("folder/file", "new");
    fs::create_symlink("a", folder.path("link"));
  }
};

TEST_F(PlainRenameTest, FilesAndLinksAreHardLinkedInstead) {
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_FALSE(copy("link", "c"));
  EXPECT_EQ(read("b"), "new");
  EXPECT_EQ(fs::read_symlink(folder.path("c")), "a");
  EXPECT_EQ(calls.count(Call::rename), 0);
  EXPECT_EQ(names(), (std::vector<std::string>{"a", "b", "c", "folder", "link"}));
}

TEST_F(PlainRenameTest, AnItemThatAppearsAtTheLastMomentIsNotReplaced) {
  calls.before(Call::link, [this] { write("b", "theirs"); });
  EXPECT_EQ(copy("a", "b"), std::errc::file_exists);
  EXPECT_EQ(read("b"), "theirs");
  EXPECT_EQ(names(), (std::vector<std::string>{"a", "b", "folder", "link"}));
}

TEST_F(PlainRenameTest, FoldersAreRenamedOnlyToAFreeName) {
  EXPECT_FALSE(copy("folder", "b"));
  EXPECT_EQ(read("b/file"), "new");
  calls.before(Call::flushVolume, [this] { write("c", "theirs"); });
  EXPECT_EQ(copy("folder", "c"), std::errc::file_exists);
  calls.before(Call::rename, [this] {
    fs::create_directory(folder.path("d"));
    write("d/file", "theirs");
  });
  EXPECT_TRUE(copy("folder", "d"));
  EXPECT_EQ(read("d/file"), "theirs");
  EXPECT_EQ(names(), (std::vector<std::string>{"a", "b", "c", "d", "folder", "link"}));
}

TEST_F(PlainRenameTest, OnAVolumeWithoutHardLinksFilesAreRenamed) {
  calls.fail(Call::link, EPERM);
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_EQ(read("b"), "new");
  calls.before(Call::flush, [this] { write("c", "theirs"); });
  EXPECT_EQ(copy("a", "c"), std::errc::file_exists);
  EXPECT_EQ(read("c"), "theirs");
}

TEST_F(CopyItemTest, ATrailingSeparatorDoesNotFollowALink) {
  fs::create_directory(folder.path("a"));
  fs::create_directory_symlink("a", folder.path("link"));
  EXPECT_FALSE(copy("link/", "b//"));
  EXPECT_EQ(fs::read_symlink(folder.path("b")), "a");
  EXPECT_TRUE(operations.contentsEqual(folder.path("link/"), folder.path("b/")));
  EXPECT_FALSE(operations.contentsEqual(folder.path("link/"), folder.path("a")));
}

TEST_F(CopyItemTest, AFolderThatBecomesALinkMeanwhileDoesNotRedirectTheCopy) {
  for (const std::string name : {"a/deep", "elsewhere"}) {
    fs::create_directories(folder.path(name));
    write(name + "/1", name);
    write(name + "/2", name);
  }
  calls.before(Call::openToRead, [this] {
    if (!fs::is_symlink(folder.path("a/deep"))) replaceByLink("a/deep", "elsewhere");
  });
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_EQ(read("b/deep/1"), "a/deep");
  EXPECT_EQ(read("b/deep/2"), "a/deep");
}

TEST_F(CopyItemTest, TheKernelCopiesWhereItCan) {
  calls.fail(Call::clone, EOPNOTSUPP);
  write("a", large);
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_GT(calls.count(Call::copyRange), 0);
  EXPECT_EQ(calls.count(Call::write), 0);
  EXPECT_EQ(calls.count(Call::read), 0);
}

TEST_F(CopyItemTest, AnInterruptedCallIsRetried) {
  write("a", large);
  calls.fail(Call::clone, EOPNOTSUPP);
  calls.failOnce(Call::copyRange, EINTR);
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_EQ(read("b"), large);
  calls.disableKernelCopy();
  calls.failOnce(Call::read, EINTR);
  calls.failOnce(Call::write, EINTR);
  EXPECT_FALSE(copy("a", "c"));
  calls.failOnce(Call::read, EINTR);
  EXPECT_TRUE(operations.contentsEqual(folder.path("a"), folder.path("c")));
}

/// A full volume whose write(2) returns 0 instead of ENOSPC.
class ZeroWriteCalls : public FileSystemCalls {
 public:
  int clone(int, int) override { return failed(); }
  ssize_t copyRange(int, int, off_t, std::size_t) override { return failed(); }
  ssize_t write(int, const std::byte*, std::size_t, off_t) override { return 0; }

 private:
  static int failed() {
    errno = EXDEV;
    return -1;
  }
};

TEST_F(CopyItemTest, AWriteOfNoBytesIsAnError) {
  ZeroWriteCalls full;
  SystemFileOperations onFullVolume(full);
  write("a", "text");
  EXPECT_EQ(onFullVolume.copyItem(folder.path("a"), folder.path("b")), std::errc::io_error);
  EXPECT_EQ(names(), (std::vector<std::string>{"a"}));
}

TEST_F(CopyItemTest, AFileThatIsRewrittenWithTheSameLengthIsAnErrorToo) {
  calls.disableKernelCopy();
  write("a", large);
  calls.before(Call::write, [this] {
    const timespec dates[] = {{0, UTIME_OMIT}, {1'200'000'000, 0}};
    ::utimensat(AT_FDCWD, folder.path("a").c_str(), dates, 0);
  });
  EXPECT_EQ(copy("a", "b"), std::errc::text_file_busy);
  EXPECT_EQ(names(), (std::vector<std::string>{"a"}));
}

TEST_F(CopyItemTest, ADamagedCopyIsNotEqual) {
  write("a", large);
  calls.before(Call::renameNoReplace, [this] {
    for (const auto& name : names())
      if (name.starts_with(".wevora-"))
        std::fstream(folder.path(name), std::ios::in | std::ios::out).write("b", 1);
  });
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_FALSE(operations.contentsEqual(folder.path("a"), folder.path("b")));
}

/// A POSIX ACL in its xattr format: a version, then tag, permissions and id of each entry.
std::string posixAcl(std::initializer_list<std::array<std::uint32_t, 3>> entries) {
  std::string list("\2\0\0\0", 4);
  for (const auto& [tag, permissions, id] : entries) {
    list += {static_cast<char>(tag), 0, static_cast<char>(permissions), 0};
    for (int shift = 0; shift < 32; shift += 8) list += static_cast<char>(id >> shift);
  }
  return list;
}

TEST_F(CopyItemTest, ACopyDoesNotInheritTheAclOfItsFolder) {
  constexpr std::uint32_t kNobody = 0xFFFF'FFFF;
  // Grants the user 4711 all permissions on new items.
  const auto open = posixAcl({{0x01, 7, kNobody},
                              {0x02, 7, 4711},
                              {0x04, 7, kNobody},
                              {0x10, 7, kNobody},
                              {0x20, 7, kNobody}});
  fs::create_directory(folder.path("open"));
  ASSERT_EQ(::setxattr(folder.path("open").c_str(), "system.posix_acl_default", open.data(),
                       open.size(), 0),
            0);
  fs::create_directories(folder.path("a/deep"));
  write("a/deep/file", "secret");
  ::chmod(folder.path("a/deep/file").c_str(), 0660);
  ASSERT_FALSE(copy("a", "open/b"));
  ASSERT_FALSE(copy("a/deep/file", "open/file"));
  for (const auto* item : {"open/b", "open/b/deep", "open/b/deep/file", "open/file"}) {
    EXPECT_EQ(attribute(item, "system.posix_acl_access"), std::nullopt) << item;
    EXPECT_EQ(attribute(item, "system.posix_acl_default"), std::nullopt) << item;
  }
  // An ACL of the source itself is copied.
  ASSERT_EQ(::setxattr(folder.path("a/deep/file").c_str(), "system.posix_acl_access", open.data(),
                       open.size(), 0),
            0);
  ASSERT_FALSE(copy("a/deep/file", "b"));
  EXPECT_EQ(attribute("b", "system.posix_acl_access"), open);
}

TEST_F(CopyItemTest, FailsForAMissingSourceOrFolder) {
  write("a", "x");
  EXPECT_EQ(copy("missing", "b"), std::errc::no_such_file_or_directory);
  EXPECT_EQ(copy("a", "missing/b"), std::errc::no_such_file_or_directory);
  EXPECT_EQ(copy("a", "a/b"), std::errc::not_a_directory);
  EXPECT_TRUE(operations.copyItem("", folder.path("b")));
  EXPECT_TRUE(operations.copyItem(folder.path("a"), ""));
  EXPECT_EQ(names(), (std::vector<std::string>{"a"}));
}

TEST_F(CopyItemTest, AFolderIsNotCopiedIntoItself) {
  fs::create_directories(folder.path("a/deep"));
  fs::create_directory_symlink("a/deep", folder.path("link"));
  EXPECT_EQ(copy("a", "a/b"), std::errc::invalid_argument);
  EXPECT_EQ(copy("a", "a/deep/b"), std::errc::invalid_argument);
  EXPECT_EQ(copy("a", "link/b"), std::errc::invalid_argument);
  EXPECT_EQ(names("a"), (std::vector<std::string>{"deep"}));
}

TEST_F(CopyItemTest, PipesAndDevicesAreRefusedWithoutBlocking) {
  fs::create_directory(folder.path("a"));
  ASSERT_EQ(::mkfifo(folder.path("a/pipe").c_str(), 0600), 0);
  EXPECT_EQ(copy("a/pipe", "b"), std::errc::not_supported);
  EXPECT_EQ(copy("a", "b"), std::errc::not_supported);
  EXPECT_EQ(operations.copyItem("/dev/null", folder.path("b")), std::errc::not_supported);
  EXPECT_EQ(names(), (std::vector<std::string>{"a"}));
}

TEST_F(CopyItemTest, AFileThatChangesWhileItIsCopiedIsAnError) {
  calls.disableKernelCopy();
  write("a", large);
  calls.before(Call::write, [this] { write("a", large + "more"); });
  EXPECT_EQ(copy("a", "b"), std::errc::text_file_busy);
  calls.before(Call::write, [this] { write("a", "less"); });
  EXPECT_EQ(copy("a", "b"), std::errc::text_file_busy);
  EXPECT_EQ(names(), (std::vector<std::string>{"a"}));
}

/// The nth call that fails, with its errno.
struct Failure {
  Call call;
  int error;
  int nth;
};

class FailingCopyTest : public CopyItemTest, public testing::WithParamInterface<Failure> {};

TEST_P(FailingCopyTest, LeavesNothingAndDoesNotTouchTheSource) {
  calls.disableKernelCopy();
  fs::create_directory(folder.path("a"));
  for (const auto* name : {"a/1", "a/2", "a/3"}) write(name, large);
  write("file", large);
  calls.fail(GetParam().call, GetParam().error, GetParam().nth);
  EXPECT_EQ(copy("a", "b").value(), GetParam().error);
  EXPECT_EQ(names(), (std::vector<std::string>{"a", "file"}));
  EXPECT_EQ(names("a"), (std::vector<std::string>{"1", "2", "3"}));
  for (const auto* name : {"a/1", "a/2", "a/3"}) EXPECT_EQ(read(name), large);
  if (GetParam().call == Call::flushVolume) return;  // a single file is flushed by fsync
  calls.fail(GetParam().call, GetParam().error);
  EXPECT_EQ(copy("file", "b").value(), GetParam().error);
  EXPECT_EQ(names(), (std::vector<std::string>{"a", "file"}));
}

INSTANTIATE_TEST_SUITE_P(
    OfEachCall, FailingCopyTest,
    testing::Values(Failure{Call::openToRead, EACCES, 0}, Failure{Call::openToRead, EMFILE, 1},
                    Failure{Call::openNew, ENOSPC, 1}, Failure{Call::read, EIO, 0},
                    Failure{Call::read, EIO, 2}, Failure{Call::write, ENOSPC, 0},
                    Failure{Call::write, ENOSPC, 4}, Failure{Call::write, EIO, 3},
                    Failure{Call::write, EDQUOT, 1}, Failure{Call::resize, ENOSPC, 0},
                    Failure{Call::flushVolume, EIO, 0}, Failure{Call::close, EIO, 0},
                    Failure{Call::close, EDQUOT, 2}, Failure{Call::renameNoReplace, EIO, 0}));

TEST_F(CopyItemTest, ACopyWhoseFlushFailsIsRemoved) {
  write("a", "x");
  calls.fail(Call::flush, EIO);
  EXPECT_EQ(copy("a", "b"), std::errc::io_error);
  EXPECT_EQ(names(), (std::vector<std::string>{"a"}));
}

TEST_F(CopyItemTest, AFolderWithMoreFilesThanDescriptorsAndThanOneDirectoryReadIsCopiedWhole) {
  constexpr rlim_t kDescriptors = 64;
  constexpr int kFiles = 300;
  constexpr std::size_t kNameLength = 250;
  // readdir(3) reads at most 32 KiB of entries in one system call.
  static_assert(kFiles > kDescriptors && kFiles * kNameLength > std::size_t{2} * 32 * 1024);
  fs::create_directory(folder.path("a"));
  for (int i = 0; i < kFiles; ++i) {
    const std::string number = std::to_string(i);
    write("a/" + number + std::string(kNameLength - number.size(), 'x'), number);
  }
  calls.disableFlush();
  const DescriptorLimit limit(kDescriptors);
  EXPECT_FALSE(copy("a", "b"));
  EXPECT_EQ(names("b").size(), static_cast<std::size_t>(kFiles));
  EXPECT_TRUE(operations.contentsEqual(folder.path("a"), folder.path("b")));
}

}  // namespace
}  // namespace wevora::platform
