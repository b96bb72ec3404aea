#include "CommonCode/Tools/WVRAppSupport/SettingsFile.h"

#include <filesystem>
#include <fstream>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;

mode_t modeOf(const std::string& path) {
  struct stat facts {};
  EXPECT_EQ(::stat(path.c_str(), &facts), 0) << path;
  return facts.st_mode & 07777U;
}

/// The thread reaches files as an ordinary user does, for its scope: modes hold for it.
class OrdinaryUser {
 public:
  explicit OrdinaryUser(const std::string& home) {
    if (::geteuid() != 0) return;
    EXPECT_EQ(::chown(home.c_str(), kNobody, kNobody), 0);
    ::setfsuid(kNobody);
  }
  ~OrdinaryUser() { ::setfsuid(::geteuid()); }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
};

class SettingsFileTest : public testing::Test {
 protected:
  platform::TemporaryFolder root;
  const OrdinaryUser user{root.path()};
  std::string file = root.path("wevora-settings.plist");
};

TEST_F(SettingsFileTest, AFileThatItsOwnerCannotReadGetsItsMode) {
  for (const mode_t mode : {0044U, 0004U, 0U, 0200U}) {
    std::ofstream(file) << "text";
    ASSERT_EQ(::chmod(file.c_str(), mode), 0);
    setSettingsFileAttributes(file, std::nullopt);
    EXPECT_EQ(modeOf(file), 0644U);
  }
}

TEST_F(SettingsFileTest, ALinkInTheFilesPlaceIsNotFollowed) {
  std::ofstream(root.path("other")) << "text";
  ASSERT_EQ(::chmod(root.path("other").c_str(), 0600), 0);
  fs::create_symlink(root.path("other"), file);
  setSettingsFileAttributes(file, std::nullopt);
  EXPECT_EQ(modeOf(root.path("other")), 0600U);
}

TEST_F(SettingsFileTest, FoldersGetTheirModeWhateverTheProcessMasks) {
  for (const mode_t masked : {0777U, 0477U, 077U}) {
    const auto folder = root.path(std::to_string(masked));
    const auto before = ::umask(masked);
    createSettingsFolder(folder + "/.config/Wevora", std::nullopt);
    ::umask(before);
    for (const char* below : {"", "/.config", "/.config/Wevora"})
      EXPECT_EQ(modeOf(folder + below), 0755U) << masked << below;
  }
}

TEST(SettingsFileOwnerTest, TheFileAndTheFoldersThatAreMadeBelongToTheOwner) {
  const platform::TemporaryFolder root;
  // Only the superuser can give files away.
  const uid_t owner = ::geteuid() == 0 ? 65534 : ::geteuid();
  createSettingsFolder(root.path("a/b"), owner);
  std::ofstream(root.path("a/b/file")) << "text";
  setSettingsFileAttributes(root.path("a/b/file"), owner);
  for (const char* below : {"a", "a/b", "a/b/file"}) {
    struct stat facts {};
    ASSERT_EQ(::stat(root.path(below).c_str(), &facts), 0);
    EXPECT_EQ(facts.st_uid, owner) << below;
  }
}

}  // namespace
}  // namespace wevora
