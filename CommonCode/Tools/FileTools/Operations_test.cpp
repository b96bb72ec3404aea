#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Files/Copy/FileOperations.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Files/Shell.h"
#include "Tests/Doubles/FaultInjectingFileSystem.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using platform::FaultInjectingFileSystem;
using Call = FaultInjectingFileSystem::Call;

class OperationsTest : public testing::Test {
 protected:
  std::string file(const std::string& name, const std::string& text = "x") {
    std::ofstream(folder.path(name)) << text;
    return folder.path(name);
  }
  std::string read(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(folder.path(name)).rdbuf();
    return text.str();
  }
  mode_t modeOf(const std::string& name) {
    const auto status = platform::statOfTarget(folder.path(name));
    return status ? status->st_mode & 07777U : 0;
  }
  bool exists(const std::string& name) { return fs::exists(fs::symlink_status(folder.path(name))); }
  std::size_t items() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()));
  }

  const platform::TemporaryFolder folder;
};

using MakeDirectoryTest = OperationsTest;
using ChangeModeTest = OperationsTest;
using HideFileTest = OperationsTest;
using BackupTest = OperationsTest;

TEST_F(MakeDirectoryTest, TheFolderHasExactlyTheMode) {
  EXPECT_TRUE(WVRFileTools::makeDirectoryWithPath(folder.path("a"), 0700));
  EXPECT_EQ(modeOf("a"), 0700U);
  EXPECT_TRUE(WVRFileTools::makeDirectoryWithPath(folder.path("b"), 0777));
  EXPECT_EQ(modeOf("b"), 0777U);
}

TEST_F(MakeDirectoryTest, UnderAMissingParentNothingIsCreated) {
  EXPECT_FALSE(WVRFileTools::makeDirectoryWithPath(folder.path("missing/a"), 0700));
  EXPECT_FALSE(WVRFileTools::makeDirectoryWithPath(folder.path("missing/a"), false, 0700));
  EXPECT_FALSE(exists("missing"));
  EXPECT_FALSE(WVRFileTools::makeDirectoryWithPath("", 0700));
}

TEST_F(MakeDirectoryTest, AnExistingFolderIsSuccessOnlyWithIntermediateFolders) {
  ASSERT_TRUE(WVRFileTools::makeDirectoryWithPath(folder.path("a"), 0700));
  EXPECT_FALSE(WVRFileTools::makeDirectoryWithPath(folder.path("a"), 0755));
  EXPECT_TRUE(WVRFileTools::makeDirectoryWithPath(folder.path("a"), true, 0755));
  EXPECT_EQ(modeOf("a"), 0700U);
}

TEST_F(MakeDirectoryTest, WithIntermediateFoldersMissingParentsAreCreated) {
  EXPECT_TRUE(WVRFileTools::makeDirectoryWithPath(folder.path("a/b/c"), true, 0750));
  for (const auto* made : {"a", "a/b", "a/b/c"}) EXPECT_EQ(modeOf(made), 0750U);
  file("file");
  EXPECT_FALSE(WVRFileTools::makeDirectoryWithPath(folder.path("file"), true, 0750));
  EXPECT_FALSE(WVRFileTools::makeDirectoryWithPath(folder.path("file/a"), true, 0750));
}

TEST_F(ChangeModeTest, TheModeOfAMissingPathIsNotChanged) {
  EXPECT_FALSE(WVRFileTools::changeModeOfFileAtPath(folder.path("missing"), 0600));
  EXPECT_FALSE(WVRFileTools::changeModeOfFileAtPath("", 0600));
}

TEST_F(ChangeModeTest, LinksAreFollowed) {
  file("a");
  fs::create_symlink("a", folder.path("link"));
  EXPECT_TRUE(WVRFileTools::changeModeOfFileAtPath(folder.path("link"), 04640));
  EXPECT_EQ(modeOf("a"), 04640U);
}

/// A program folder with a fake "chflags" that records its arguments, one per line.
class FakeChflags {
 public:
  FakeChflags() {
    std::ofstream(folder_.path("chflags"))
        << "#!/bin/sh\nprintf '%s\\n' \"$@\" >'" << folder_.path("arguments") << "'\nexit 1\n";
    fs::permissions(folder_.path("chflags"), fs::perms::owner_all);
  }
  platform::Shell shell() const { return platform::Shell(folder_.path()); }
  std::string arguments() const {
    std::ostringstream text;
    text << std::ifstream(folder_.path("arguments")).rdbuf();
    return text.str();
  }

 private:
  platform::TemporaryFolder folder_;
};

TEST_F(HideFileTest, APathWithASpaceStaysOneArgumentAndTheExitStatusIsIgnored) {
  const FakeChflags chflags;
  WVRFileTools::hideFileAtPath("/two words/$HOME `x` \"y\" \xC3\xA9", chflags.shell());
  EXPECT_EQ(chflags.arguments(), "hidden\n/two words/$HOME `x` \"y\" \xC3\xA9\n");
}

TEST_F(HideFileTest, ASingleQuoteEndsTheQuotesAndTheShellRunsTheRest) {
  const FakeChflags chflags;
  WVRFileTools::hideFileAtPath("/a' 'b", chflags.shell());
  EXPECT_EQ(chflags.arguments(), "hidden\n/a\nb\n");
}

TEST_F(HideFileTest, WithoutTheCommandNothingHappens) {
  file("a");
  WVRFileTools::hideFileAtPath(folder.path("a") + "' 2>/dev/null; exit '3",
                               platform::Shell(folder.path("none")));
  EXPECT_EQ(items(), 1U);
}

class MockFileOperations : public platform::FileOperations {
 public:
  MOCK_METHOD(std::error_code, copyItem, (const std::string&, const std::string&), (override));
  MOCK_METHOD(bool, contentsEqual, (const std::string&, const std::string&), (override));
  MOCK_METHOD(std::error_code, removeItem, (const std::string&), (override));
};

const auto kDone = std::error_code();
const auto kExists = std::make_error_code(std::errc::file_exists);

// --- Backups -------------------------------------------------------------------------------------

TEST_F(BackupTest, ACopyIsVerified) {
  EXPECT_TRUE(WVRFileTools::backupFileWithPath(file("a", "text"), folder.path("b")));
  EXPECT_EQ(read("b"), "text");
  EXPECT_TRUE(WVRFileTools::backupFileWithPath(folder.path("a"), folder.path("c"), 3));
  EXPECT_EQ(read("c"), "text");
}

TEST_F(BackupTest, AFolderIsCopiedRecursively) {
  fs::create_directories(folder.path("a/deep"));
  file("a/deep/file", "text");
  fs::create_symlink("deep", folder.path("a/link"));
  EXPECT_TRUE(WVRFileTools::backupFileWithPath(folder.path("a"), folder.path("b")));
  EXPECT_EQ(read("b/deep/file"), "text");
  EXPECT_EQ(fs::read_symlink(folder.path("b/link")), "deep");
}

TEST_F(BackupTest, TheSingleAttemptLeavesAnExistingDestinationUnchanged) {
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(file("a", "new"), file("b", "old")));
  EXPECT_EQ(read("b"), "old");
}

TEST_F(BackupTest, WithZeroAttemptsAnExistingDestinationIsRemoved) {
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(file("a"), file("b"), 0));
  EXPECT_FALSE(exists("b"));
  EXPECT_TRUE(exists("a"));
}

TEST_F(BackupTest, WithAnExistingDestinationEveryAttemptFailsAndItIsRemovedAtTheEnd) {
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(file("a"), file("b"), 3));
  EXPECT_FALSE(exists("b"));
  fs::create_directories(folder.path("b/deep"));
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(folder.path("a"), folder.path("b"), 3));
  EXPECT_FALSE(exists("b"));
}

TEST_F(BackupTest, AMissingSourceFailsAndLeavesNoDestination) {
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(folder.path("missing"), folder.path("b"), 2));
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(folder.path("missing"), file("b"), 2));
  EXPECT_EQ(items(), 0U);
}

TEST_F(BackupTest, IntoAMissingFolderNothingIsCopied) {
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(file("a"), folder.path("missing/b"), 2));
  EXPECT_EQ(items(), 1U);
}

TEST_F(BackupTest, ASourceThatIsAlsoTheDestinationIsNotLost) {
  file("a", "text");
  fs::create_directory(folder.path("folder"));
  file("folder/inner", "text");
  fs::create_directory_symlink("folder", folder.path("to folder"));
  fs::create_symlink("a", folder.path("to a"));
  const auto backup = [this](const std::string& from, const std::string& to) {
    return WVRFileTools::backupFileWithPath(folder.path(from), folder.path(to), 2);
  };
  EXPECT_FALSE(backup("a", "a"));
  EXPECT_FALSE(backup("a", "./folder/../a"));
  EXPECT_FALSE(backup("folder", "folder/"));
  EXPECT_FALSE(backup("folder/inner", "folder"));
  EXPECT_FALSE(backup("folder/inner", "to folder/inner"));
  EXPECT_FALSE(backup("folder", "folder/inner"));
  EXPECT_FALSE(backup("folder", "folder/new"));
  EXPECT_FALSE(backup("to a", "a"));
  EXPECT_EQ(read("a"), "text");
  EXPECT_EQ(read("folder/inner"), "text");
  EXPECT_EQ(items(), 4U);
  EXPECT_FALSE(exists("folder/new"));
}

TEST_F(BackupTest, WhenTheSourceCannotBeExaminedTheDestinationIsNotRemoved) {
  fs::create_symlink("loop", folder.path("loop"));
  file("b", "text");
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(folder.path("loop/a"), folder.path("b"), 2));
  EXPECT_EQ(read("b"), "text");
}

TEST_F(BackupTest, ASourceThatIsMovedIntoTheDestinationMeanwhileIsNotLost) {
  file("a", "text");
  fs::create_directory(folder.path("b"));
  MockFileOperations operations;
  EXPECT_CALL(operations, copyItem).WillOnce([this](const auto&, const auto&) {
    fs::rename(folder.path("a"), folder.path("b/a"));
    return kExists;
  });
  EXPECT_CALL(operations, removeItem).Times(0);
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(folder.path("a"), folder.path("b"), 1, operations));
}

TEST_F(BackupTest, ADestinationWithATrailingSeparatorDoesNotFollowALink) {
  fs::create_directory(folder.path("elsewhere"));
  file("elsewhere/file", "text");
  fs::create_directory_symlink("elsewhere", folder.path("link"));
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(file("a"), folder.path("link/"), 1));
  EXPECT_FALSE(exists("link"));
  EXPECT_EQ(read("elsewhere/file"), "text");
}

TEST_F(BackupTest, ADestinationThatOnlyLinksToTheSourceIsRemoved) {
  file("a", "text");
  fs::create_symlink("a", folder.path("link"));
  fs::create_hard_link(folder.path("a"), folder.path("hard"));
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(folder.path("a"), folder.path("link"), 1));
  EXPECT_FALSE(WVRFileTools::backupFileWithPath(folder.path("a"), folder.path("hard"), 1));
  EXPECT_EQ(read("a"), "text");
  EXPECT_EQ(items(), 1U);
}

TEST_F(BackupTest, AFullVolumeOrAnIoErrorLosesNothing) {
  file("a", std::string(1'000'000, 'a'));
  struct Failure {
    Call call;
    int error;
    int nth;
  };
  for (const auto& failure :
       {Failure{Call::write, ENOSPC, 2}, Failure{Call::write, EIO, 0}, Failure{Call::read, EIO, 1},
        Failure{Call::openToRead, EACCES, 0}, Failure{Call::flush, EIO, 0},
        Failure{Call::close, EIO, 0}, Failure{Call::renameNoReplace, ENOSPC, 0}}) {
    FaultInjectingFileSystem calls;
    calls.disableKernelCopy();
    calls.fail(failure.call, failure.error, failure.nth);
    platform::SystemFileOperations operations(calls);
    EXPECT_FALSE(
        WVRFileTools::backupFileWithPath(folder.path("a"), folder.path("b"), 3, operations));
    EXPECT_EQ(items(), 1U);
    EXPECT_EQ(read("a").size(), 1'000'000U);
  }
}

TEST_F(BackupTest, ARetryCopiesAFileThatHasStoppedChanging) {
  FaultInjectingFileSystem calls;
  calls.disableKernelCopy();
  file("a", "first");
  int changes = 0;
  calls.before(Call::write, [&] {
    if (++changes < 3) file("a", "changed " + std::string(static_cast<std::size_t>(changes), '!'));
  });
  platform::SystemFileOperations operations(calls);
  EXPECT_TRUE(WVRFileTools::backupFileWithPath(folder.path("a"), folder.path("b"), 3, operations));
  EXPECT_EQ(read("b"), "changed !!");
}

TEST_F(BackupTest, TheSingleAttemptLeavesACopyThatDiffers) {
  MockFileOperations operations;
  EXPECT_CALL(operations, copyItem("/a", "/b")).WillOnce(testing::Return(kDone));
  EXPECT_CALL(operations, contentsEqual("/a", "/b")).WillOnce(testing::Return(false));
  EXPECT_CALL(operations, removeItem).Times(0);
  EXPECT_FALSE(WVRFileTools::backupFileWithPath("/a", "/b", operations));
}

TEST_F(BackupTest, ACopyThatDiffersMakesTheRetriesFailAndIsRemovedAfterTheLast) {
  MockFileOperations operations;
  testing::InSequence order;
  EXPECT_CALL(operations, copyItem).WillOnce(testing::Return(kDone));
  EXPECT_CALL(operations, contentsEqual).WillOnce(testing::Return(false));
  EXPECT_CALL(operations, copyItem).Times(2).WillRepeatedly(testing::Return(kExists));
  EXPECT_CALL(operations, removeItem("/b")).WillOnce(testing::Return(kExists));
  EXPECT_FALSE(WVRFileTools::backupFileWithPath("/a", "/b", 3, operations));
}

TEST_F(BackupTest, TheFirstSuccessIsTheLastAttempt) {
  MockFileOperations operations;
  testing::InSequence order;
  EXPECT_CALL(operations, copyItem).WillOnce(testing::Return(kExists));
  EXPECT_CALL(operations, copyItem).WillOnce(testing::Return(kDone));
  EXPECT_CALL(operations, contentsEqual).WillOnce(testing::Return(true));
  EXPECT_CALL(operations, removeItem).Times(0);
  EXPECT_TRUE(WVRFileTools::backupFileWithPath("/a", "/b", 5, operations));
}

}  // namespace
}  // namespace wevora
