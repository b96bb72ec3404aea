// Runs the programs wevora-files and chflags on real volumes.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/Files/Shell.h"
#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/Mounts/MountedVolume.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing_host::MountedVolume;
using testing_host::Outcome;
using testing_host::runInShell;

Outcome files(const std::string& arguments) {
  return runInShell(WEVORA_FILES " " + arguments);
}
Outcome chflags(const std::string& arguments) {
  return runInShell(WEVORA_CHFLAGS " " + arguments);
}
/// Runs the command without the capabilities that let root ignore file modes.
std::string withoutModeOverride(const std::string& command) {
  return "setpriv --bounding-set=-dac_override,-dac_read_search " + command;
}

/// Mounts an empty private program folder over the installed one, in the mount namespace of this
/// test.
/// Errors: isMounted() is false.
class EmptyInstallation {
 public:
  EmptyInstallation() {
    while (!fs::exists(above_)) above_ = above_.parent_path();
    mounted_ = above_ != "/" && ::mount("tmpfs", above_.c_str(), "tmpfs", 0, "size=64m") == 0;
    if (mounted_) fs::create_directories(platform::kInstalledProgramFolder);
  }
  ~EmptyInstallation() {
    if (mounted_) ::umount2(above_.c_str(), MNT_DETACH);
  }
  EmptyInstallation(const EmptyInstallation&) = delete;
  EmptyInstallation& operator=(const EmptyInstallation&) = delete;

  bool isMounted() const { return mounted_; }

 private:
  fs::path above_ = platform::kInstalledProgramFolder;
  bool mounted_ = false;
};

class FilesTest : public testing::Test {
 protected:
  FilesTest() { mounted = volume.mount(); }

  void write(const std::string& path, const std::string& text = "x") {
    std::ofstream(path) << text;
  }
  void makeFile(const std::string& path, std::uintmax_t bytes) {
    std::ofstream file(path);
    const std::string block(1 << 20, 'a');
    for (std::uintmax_t left = bytes; left > 0; left -= std::min<std::uintmax_t>(left, 1 << 20))
      file << block.substr(0, std::min<std::uintmax_t>(left, 1 << 20));
  }
  static std::vector<std::string> namesIn(const std::string& path) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path))
      names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
  }

  const platform::TemporaryFolder folder;
  MountedVolume volume{MountedVolume::Kind::tmpfs, "/media/wevora files"};  // of 16 MiB
  bool mounted = false;
  const std::string quoted = "'/media/wevora files";  // the caller closes the quotes
};

TEST_F(FilesTest, TheExitStatusReportsTheResultToo) {
  ASSERT_TRUE(mounted);
  write(volume.path("a.txt"));
  EXPECT_EQ(files("ignored " + quoted + "/gone.PART' " + quoted + "/.x.dtapart'").status, 0);
  const auto mixed = files("ignored " + quoted + "/a.txt' " + quoted + "/gone.part'");
  EXPECT_EQ(mixed.status, 1);
  EXPECT_EQ(mixed.output,
            "kept\t/media/wevora files/a.txt\nignored\t/media/wevora files/gone.part\n");
  EXPECT_EQ(files("ignored").status, 2);
  EXPECT_EQ(files("unknown x").status, 2);
  EXPECT_EQ(files("--help").status, 0);
  EXPECT_THAT(files("--version").output, HasSubstr("wevora-files "));
  EXPECT_EQ(runInShell(WEVORA_FILES " md5 " + quoted + "/a.txt' >/dev/full").status, 2);
}

TEST_F(FilesTest, RelativePathsStartInTheCurrentFolder) {
  ASSERT_TRUE(mounted);
  write(volume.path("a b"));
  const auto result = runInShell("cd " + quoted + "' && " WEVORA_FILES " md5 'a b'");
  EXPECT_EQ(result.output, "9dd4e461268c8034f5c8564e155c67a6  a b\n");
}

TEST_F(FilesTest, ListsAndScansAFolder) {
  ASSERT_TRUE(mounted);
  fs::create_directory(volume.path("folder"));
  fs::create_directory_symlink("folder", volume.path("link"));
  fs::create_symlink("gone", volume.path("dangling"));
  write(volume.path("a.txt"));
  write(volume.path("x.part"));
  const auto sorted = [](const std::string& arguments) {
    return runInShell(WEVORA_FILES " " + arguments + " | sort | sed 's|.*/||' | tr '\\n' ' '")
        .output;
  };
  EXPECT_EQ(sorted("list " + quoted + "'"), "a.txt folder link x.part ");
  EXPECT_EQ(sorted("list --no-dirs " + quoted + "'"), "a.txt x.part ");
  EXPECT_EQ(sorted("list --no-files --resolved " + quoted + "'"), "folder folder ");
  EXPECT_EQ(sorted("list --no-resolve --keep-links --mask '*n*' " + quoted + "'"),
            "dangling link ");
  EXPECT_EQ(sorted("scan " + quoted + "'"), "folder ");
  EXPECT_EQ(sorted("scan --files " + quoted + "'"), "a.txt dangling link ");
  EXPECT_EQ(files("list " + quoted + "/gone'").status, 1);
}

TEST_F(FilesTest, JsonOutputIsValidForAnotherParser) {
  ASSERT_TRUE(mounted);
  write(volume.path("odd \"\\\n\xFF name"));
  const auto read = runInShell(WEVORA_FILES " list --format json " + quoted +
                               "' | python3 -c 'import json,sys,os\n"
                               "for line in sys.stdin:\n"
                               "  path = os.fsencode(json.loads(line)[\"path\"].encode("
                               "\"utf-8\", \"surrogateescape\"))\n"
                               "  print(os.path.exists(path), len(path))'");
  EXPECT_EQ(read.output, "True 33\n");
}

// --- Hiding --------------------------------------------------------------------------------------

TEST_F(FilesTest, TheInstalledCommandIsFoundWithoutTheSearchPath) {
  ASSERT_TRUE(mounted);
  const EmptyInstallation installation;
  ASSERT_TRUE(installation.isMounted());
  fs::copy(WEVORA_CHFLAGS, platform::kInstalledProgramFolder);
  write(volume.path("two words"));
  const auto hidden = files("hide " + quoted + "/two words'");
  EXPECT_EQ(hidden.status, 0) << hidden.output;
  EXPECT_EQ(hidden.output, "hidden\t/media/wevora files/two words\n");
  EXPECT_EQ(files("ignored " + quoted + "/two words'").status, 0);
  EXPECT_EQ(files("scan --files " + quoted + "'").output, "");
}

TEST_F(FilesTest, WithoutTheCommandHidingFailsWithAReason) {
  ASSERT_TRUE(mounted);
  const EmptyInstallation installation;  // the product may be installed on this machine
  ASSERT_TRUE(installation.isMounted());
  write(volume.path("a"));
  const auto result = runInShell("PATH=/nowhere " WEVORA_FILES " hide " + quoted + "/a'");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("still visible after running chflags"));
}

TEST_F(FilesTest, ChflagsHidesAndShowsSeveralItemsAtOnce) {
  ASSERT_TRUE(mounted);
  write(volume.path("a"));
  write(volume.path("b c"));
  EXPECT_EQ(chflags("hidden " + quoted + "/a' " + quoted + "/b c' " + quoted + "/a'").status, 0);
  EXPECT_EQ(runInShell("cat " + quoted + "/.hidden'").output, "a\nb c\n");
  EXPECT_EQ(chflags("nohidden -- " + quoted + "/a'").status, 0);
  EXPECT_EQ(runInShell("cat " + quoted + "/.hidden'").output, "b c\n");
}

TEST_F(FilesTest, ChflagsReportsAFailureAndContinues) {
  ASSERT_TRUE(mounted);
  write(volume.path("a"));
  const auto result = chflags("hidden " + quoted + "/gone' " + quoted + "/a' " + quoted +
                              "/a'\"$(printf '\\nb')\"");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(
      result.output,
      HasSubstr(
          "chflags: cannot change the visibility of '/media/wevora files/gone': No such file"));
  EXPECT_THAT(result.output, HasSubstr("line break"));
  EXPECT_EQ(runInShell("cat " + quoted + "/.hidden'").output, "a\n");
  EXPECT_EQ(chflags("").status, 2);
  EXPECT_EQ(chflags("arch x").status, 2);
  EXPECT_EQ(chflags("hidden").status, 2);
  EXPECT_EQ(chflags("--help").status, 0);
}

TEST_F(FilesTest, ChflagsReportsAFolderWithoutWritePermission) {
  ASSERT_TRUE(mounted);
  fs::create_directory(volume.path("locked"));
  write(volume.path("locked/a"));
  ::chmod(volume.path("locked").c_str(), 0555);
  const auto result =
      runInShell(withoutModeOverride(WEVORA_CHFLAGS " hidden " + quoted + "/locked/a'"));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("Permission denied"));
  EXPECT_EQ(namesIn(volume.path("locked")), (std::vector<std::string>{"a"}));
}

TEST_F(FilesTest, OnAFullVolumeTheListStaysUnchanged) {
  ASSERT_TRUE(mounted);
  write(volume.path("a"));
  write(volume.path(".hidden"), "b\n");
  runInShell("cat /dev/zero >" + quoted + "/ballast'");
  EXPECT_EQ(chflags("hidden " + quoted + "/a'").status, 1);
  EXPECT_EQ(runInShell("cat " + quoted + "/.hidden'").output, "b\n");
  EXPECT_EQ(namesIn(volume.path()), (std::vector<std::string>{".hidden", "a", "ballast"}));
}

// --- Trash ---------------------------------------------------------------------------------------

TEST_F(FilesTest, TheTrashOfAnotherVolumeIsAtItsTop) {
  ASSERT_TRUE(mounted);
  const std::string user = std::to_string(::getuid());
  fs::create_directories(volume.path(".Trash-" + user + "/files/gone"));
  fs::create_directories(volume.path(".Trash/" + user + "/files"));
  fs::create_directories(volume.path(".Trash-4711/files"));
  fs::create_directories(volume.path("deep/.Trash-" + user + "/files"));
  write(volume.path(".Trash-" + user + "/files/gone/x"));
  write(volume.path(".Trash/" + user + "/files/x"));
  write(volume.path(".Trash-4711/files/x"));
  write(volume.path("deep/.Trash-" + user + "/files/x"));
  const auto inTrash = [this](const std::string& below) {
    return files("trash " + quoted + "/" + below + "'").status;
  };
  EXPECT_EQ(inTrash(".Trash-" + user + "/files/gone/x"), 0);
  EXPECT_EQ(inTrash(".Trash-" + user), 1);
  EXPECT_EQ(inTrash(".Trash-4711/files/x"), 1);
  EXPECT_EQ(inTrash("deep/.Trash-" + user + "/files/x"), 1);
  // The shared Trash counts only with the sticky bit.
  EXPECT_EQ(inTrash(".Trash/" + user + "/files/x"), 1);
  ::chmod(volume.path(".Trash").c_str(), 01777);
  EXPECT_EQ(inTrash(".Trash/" + user + "/files/x"), 0);
  fs::create_directory_symlink(".Trash-" + user, volume.path("link"));
  EXPECT_EQ(inTrash("link/files"), 1);
}

TEST_F(FilesTest, TheTrashOfTheHomeVolumeIsInTheHome) {
  fs::create_directories(folder.path("Trash/files"));
  write(folder.path("Trash/files/x"));
  EXPECT_EQ(runInShell("HOME=" + folder.path() + " XDG_DATA_HOME=" + folder.path() +
                       " " WEVORA_FILES " trash " + folder.path("Trash/files/x"))
                .output,
            "trash\t" + folder.path("Trash/files/x") + "\n");
}

TEST_F(FilesTest, AHomeTrashOnAnotherVolumeContainsItsItemsToo) {
  ASSERT_TRUE(mounted);
  fs::create_directories(volume.path("Trash/files"));
  write(volume.path("Trash/files/x"));
  const std::string user = "HOME=" + folder.path() + " XDG_DATA_HOME=" + quoted + "' ";
  EXPECT_EQ(runInShell(user + WEVORA_FILES " trash " + quoted + "/Trash/files/x'").status, 0);
  EXPECT_EQ(runInShell(user + WEVORA_FILES " trash " + quoted + "/Trash'").status, 1);
}

TEST_F(FilesTest, ItemsOfAVolumeMountedInTheHomeTrashAreNotInTheTrash) {
  fs::create_directories(folder.path("Trash/files/mount"));
  write(folder.path("Trash/files/x"));
  ASSERT_EQ(::mount("tmpfs", folder.path("Trash/files/mount").c_str(), "tmpfs", 0, nullptr), 0);
  write(folder.path("Trash/files/mount/x"));
  const std::string user = "HOME=" + folder.path() + " XDG_DATA_HOME=" + folder.path() + " ";
  const auto own = runInShell(user + WEVORA_FILES " trash " + folder.path("Trash/files/x"));
  const auto mountedItem =
      runInShell(user + WEVORA_FILES " trash " + folder.path("Trash/files/mount/x"));
  ::umount2(folder.path("Trash/files/mount").c_str(), MNT_DETACH);
  EXPECT_EQ(own.status, 0);
  EXPECT_EQ(mountedItem.status, 1);
}

TEST_F(FilesTest, AListThatCannotBeReplacedStaysUnchanged) {
  ASSERT_TRUE(mounted);
  write(volume.path("a"));
  write(volume.path(".hidden"), "b\n");
  // A mount point cannot be replaced by rename(2).
  ASSERT_EQ(::mount(volume.path(".hidden").c_str(), volume.path(".hidden").c_str(), nullptr,
                    MS_BIND, nullptr),
            0);
  const auto result = chflags("hidden " + quoted + "/a'");
  ::umount2(volume.path(".hidden").c_str(), MNT_DETACH);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("cannot replace the .hidden file"));
  EXPECT_EQ(runInShell("cat " + quoted + "/.hidden'").output, "b\n");
  EXPECT_EQ(namesIn(volume.path()), (std::vector<std::string>{".hidden", "a"}));
}

// --- Backups -------------------------------------------------------------------------------------

TEST_F(FilesTest, ABackupGoesFromOneVolumeToAnother) {
  ASSERT_TRUE(mounted);
  fs::create_directories(folder.path("a/deep"));
  makeFile(folder.path("a/deep/large"), 5'000'000);
  fs::create_symlink("deep/large", folder.path("a/link"));
  EXPECT_EQ(files("backup " + folder.path("a") + " " + quoted + "/copy'").output, "");
  EXPECT_EQ(runInShell("diff -r " + folder.path("a") + " " + quoted + "/copy'").output, "");
  EXPECT_TRUE(fs::is_symlink(volume.path("copy/link")));
}

TEST_F(FilesTest, ACopyWithAnotherOwnerHasNoSetuidBits) {
  write(folder.path("a"));
  ASSERT_TRUE(mounted);
  const auto modes = [this] {
    return runInShell("stat -c %a " + folder.path("a") + " " + folder.path("b") + " 2>&1").output;
  };
  ::chmod(folder.path("a").c_str(), 06755);
  EXPECT_EQ(files("backup " + folder.path("a") + " " + folder.path("b")).status, 0);
  EXPECT_EQ(modes(), "6755\n6755\n");
  fs::remove(folder.path("b"));
  if (!testing_host::mayMountDisks()) return;  // only one user id is mapped
  ASSERT_EQ(::chown(folder.path("a").c_str(), 4711, 4711), 0);
  ::chmod(folder.path("a").c_str(), 06755);
  EXPECT_EQ(runInShell("setpriv --bounding-set=-chown " WEVORA_FILES " backup " + folder.path("a") +
                       " " + folder.path("b"))
                .status,
            0);
  EXPECT_EQ(modes(), "6755\n755\n");
}

TEST_F(FilesTest, AVolumeWithoutExtendedAttributesReceivesEverythingElse) {
  MountedVolume plain(MountedVolume::Kind::ramfs, folder.path("plain"));
  ASSERT_TRUE(plain.mount());
  fs::create_directories(folder.path("a/deep"));
  write(folder.path("a/deep/file"), "text");
  ::chmod(folder.path("a/deep/file").c_str(), 0640);
  ASSERT_EQ(::setxattr(folder.path("a/deep/file").c_str(), "user.note", "text", 4, 0), 0);
  ASSERT_NE(::setxattr(plain.path().c_str(), "user.note", "text", 4, 0), 0);
  EXPECT_EQ(files("backup " + folder.path("a") + " " + plain.path("b")).output, "");
  EXPECT_EQ(files("backup " + folder.path("a/deep/file") + " " + plain.path("c")).output, "");
  for (const auto* copy : {"b/deep/file", "c"}) {
    EXPECT_EQ(runInShell("cat " + plain.path(copy)).output, "text");
    EXPECT_EQ(fs::status(plain.path(copy)).permissions(), fs::perms(0640));
  }
}

TEST_F(FilesTest, AFullVolumeContainsNoPartialCopy) {
  ASSERT_TRUE(mounted);
  makeFile(folder.path("large"), 20 << 20);
  fs::create_directory(folder.path("folder"));
  for (int i = 0; i < 20; ++i) makeFile(folder.path("folder/" + std::to_string(i)), 1 << 20);
  for (const auto* source : {"large", "folder"})
    for (const auto* attempts : {"", "--attempts 3 "}) {
      const auto result =
          files("backup " + std::string(attempts) + folder.path(source) + " " + quoted + "/copy'");
      EXPECT_EQ(result.status, 1);
      EXPECT_THAT(result.output, HasSubstr("No space left on device"));
      EXPECT_EQ(namesIn(volume.path()), std::vector<std::string>{});
    }
  EXPECT_EQ(fs::file_size(folder.path("large")), std::uintmax_t{20 << 20});
  EXPECT_EQ(namesIn(folder.path("folder")).size(), 20U);
}

TEST_F(FilesTest, OnAVolumeWithoutFreeSpaceTheBackupFails) {
  ASSERT_TRUE(mounted);
  runInShell("cat /dev/zero >" + quoted + "/ballast'");
  write(folder.path("small"), "text");
  EXPECT_EQ(files("backup --attempts 2 " + folder.path("small") + " " + quoted + "/copy'").status,
            1);
  EXPECT_EQ(namesIn(volume.path()), (std::vector<std::string>{"ballast"}));
}

TEST_F(FilesTest, AnUnreadableFileAndItsFolderAreNotBackedUp) {
  fs::create_directory(folder.path("a"));
  write(folder.path("a/first"));
  write(folder.path("a/secret"));
  ::chmod(folder.path("a/secret").c_str(), 0);
  for (const auto* source : {"a", "a/secret"}) {
    const auto result = runInShell(withoutModeOverride(
        WEVORA_FILES " backup --attempts 2 " + folder.path(source) + " " + folder.path("copy")));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("Permission denied"));
  }
  EXPECT_EQ(runInShell(withoutModeOverride(WEVORA_FILES " md5 " + folder.path("a/secret"))).status,
            1);
  EXPECT_EQ(namesIn(folder.path()), (std::vector<std::string>{"a"}));
  EXPECT_EQ(namesIn(folder.path("a")), (std::vector<std::string>{"first", "secret"}));
}

TEST_F(FilesTest, ASourceThatIsItsOwnDestinationIsNotLost) {
  write(folder.path("a"), "text");
  EXPECT_EQ(files("backup --attempts 2 " + folder.path("a") + " " + folder.path("a")).status, 1);
  EXPECT_EQ(
      runInShell("cd " + folder.path() + " && " WEVORA_FILES " backup --attempts 0 a ./a").status,
      1);
  EXPECT_EQ(runInShell("cat " + folder.path("a")).output, "text");
}

TEST_F(FilesTest, AMountInsideTheDestinationPreventsItsRemoval) {
  fs::create_directories(folder.path("home/doc"));
  write(folder.path("home/doc/letter"), "text");
  fs::create_directories(folder.path("chroot/home"));
  fs::create_directory(folder.path("chroot/etc"));
  write(folder.path("chroot/file"));
  write(folder.path("single"), "text");
  // A bind mount has the same device number as its source.
  const auto bind = [this](const std::string& from, const std::string& to) {
    return ::mount(folder.path(from).c_str(), folder.path(to).c_str(), nullptr, MS_BIND, nullptr);
  };
  ASSERT_EQ(bind("home", "chroot/home"), 0);
  EXPECT_EQ(
      files("backup --attempts 1 " + folder.path("home/doc") + " " + folder.path("chroot")).status,
      1);
  EXPECT_EQ(runInShell("cat " + folder.path("home/doc/letter")).output, "text");
  EXPECT_EQ(namesIn(folder.path("chroot")), (std::vector<std::string>{"etc", "file", "home"}));
  EXPECT_EQ(files("backup --attempts 1 " + folder.path("single") + " " + folder.path("chroot/home"))
                .status,
            1);
  EXPECT_EQ(runInShell("cat " + folder.path("home/doc/letter")).output, "text");
  ::umount2(folder.path("chroot/home").c_str(), MNT_DETACH);
  ASSERT_EQ(bind("single", "chroot/file"), 0);
  EXPECT_EQ(
      files("backup --attempts 1 " + folder.path("home") + " " + folder.path("chroot")).status, 1);
  EXPECT_EQ(namesIn(folder.path("chroot")), (std::vector<std::string>{"etc", "file", "home"}));
  ::umount2(folder.path("chroot/file").c_str(), MNT_DETACH);
  EXPECT_EQ(
      files("backup --attempts 1 " + folder.path("home") + " " + folder.path("chroot")).status, 1);
  EXPECT_FALSE(fs::exists(folder.path("chroot")));
}

TEST_F(FilesTest, ALockedFolderIsRemovedButStaysLockedAfterADryRun) {
  fs::create_directories(folder.path("b/locked/deeper"));
  write(folder.path("b/locked/deeper/file"));
  fs::create_directory(folder.path("b/mount"));
  write(folder.path("a"));
  ::chmod(folder.path("b/locked/deeper").c_str(), 0);
  ::chmod(folder.path("b/locked").c_str(), 0500);
  const std::string backup =
      WEVORA_FILES " backup --attempts 1 " + folder.path("a") + " " + folder.path("b");
  ASSERT_EQ(::mount("tmpfs", folder.path("b/mount").c_str(), "tmpfs", 0, nullptr), 0);
  EXPECT_EQ(runInShell(withoutModeOverride(backup)).status, 1);
  EXPECT_EQ(fs::status(folder.path("b/locked/deeper")).permissions(), fs::perms::none);
  EXPECT_EQ(fs::status(folder.path("b/locked")).permissions(), fs::perms(0500));
  EXPECT_TRUE(fs::exists(folder.path("b/locked/deeper/file")));
  ::umount2(folder.path("b/mount").c_str(), MNT_DETACH);
  EXPECT_EQ(runInShell(withoutModeOverride(backup)).status, 1);
  EXPECT_FALSE(fs::exists(folder.path("b")));
}

TEST_F(FilesTest, LargeFilesShowProgressOnlyOnATerminal) {
  write(folder.path("large"), "");
  fs::resize_file(folder.path("large"), 48 << 20);
  const std::string digest = WEVORA_FILES " md5 " + folder.path("large");
  EXPECT_THAT(runInShell("script -qec '" + digest + "' /dev/null").output,
              HasSubstr("MiB of 48 MiB"));
  EXPECT_EQ(runInShell(digest).output,
            "f6a7b2f72130b8e4033094cb3b4ab80c  " + folder.path("large") + "\n");
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
