#include "CommonCode/Tools/WVRAppSupport/SettingsFile.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

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

/// Accesses files as an ordinary user for its scope, so that file modes apply.
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

TEST_F(SettingsFileTest, FoldersGetTheirModeWithAnyUmask) {
  for (const mode_t masked : {0777U, 0477U, 077U}) {
    const auto folder = root.path(std::to_string(masked));
    const auto before = ::umask(masked);
    createSettingsFolder(folder + "/.config/Wevora", std::nullopt);
    ::umask(before);
    for (const char* below : {"", "/.config", "/.config/Wevora"})
      EXPECT_EQ(modeOf(folder + below), 0755U) << masked << below;
  }
}

class UnreadableSettingsFileTest : public SettingsFileTest {
 protected:
  static std::string contentsOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  void put(const std::string& text, mode_t mode = 0644) const {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
    ASSERT_EQ(::chmod(file.c_str(), mode), 0);
  }

  std::string copy = file + ".unreadable";
};

TEST_F(UnreadableSettingsFileTest, AFileThatIsNotADictionaryIsCopied) {
  for (const std::string text :
       {"broken", "<plist><dict>", "<plist><array/></plist>", "bplist00"}) {
    put(text);
    keepUnreadableSettingsFile(file);
    EXPECT_EQ(contentsOf(copy), text);
    EXPECT_EQ(contentsOf(file), text);
    fs::remove(copy);
  }
}

TEST_F(UnreadableSettingsFileTest, AnEmptyFileAndADictionaryAreNotCopied) {
  for (const char* text :
       {"", "<plist><dict/></plist>", "<plist><dict><key>a</key><true/></dict></plist>old tail"}) {
    put(text);
    keepUnreadableSettingsFile(file);
    EXPECT_FALSE(fs::exists(copy)) << text;
  }
  fs::remove(file);
  keepUnreadableSettingsFile(file);
  EXPECT_FALSE(fs::exists(copy));
}

TEST_F(UnreadableSettingsFileTest, TheFirstCopyIsNeverOverwritten) {
  put("first");
  keepUnreadableSettingsFile(file);
  put("second");
  keepUnreadableSettingsFile(file);
  EXPECT_EQ(contentsOf(copy), "first");
}

TEST_F(UnreadableSettingsFileTest, TheCopyHasNoModeThatTheFileDoesNotHave) {
  for (const auto& [mode, expected] : {std::pair<mode_t, mode_t>{0600, 0600},
                                       {0777, 0644},
                                       {0664, 0644},
                                       {0640, 0640},
                                       {0400, 0400}}) {
    fs::remove(copy);
    put("broken", mode);
    keepUnreadableSettingsFile(file);
    EXPECT_EQ(modeOf(copy), expected) << mode;
    fs::remove(file);
  }
}

TEST_F(UnreadableSettingsFileTest, ALinkInThePlaceOfTheCopyIsNotFollowed) {
  put("broken");
  fs::create_symlink(root.path("other"), copy);
  keepUnreadableSettingsFile(file);
  EXPECT_FALSE(fs::exists(root.path("other")));
  std::ofstream(root.path("other")) << "other";
  keepUnreadableSettingsFile(file);
  EXPECT_EQ(contentsOf(root.path("other")), "other");
}

TEST_F(UnreadableSettingsFileTest, ALinkInThePlaceOfTheFileIsNotFollowed) {
  std::ofstream(root.path("secret")) << "secret";
  fs::create_symlink(root.path("secret"), file);
  keepUnreadableSettingsFile(file);
  EXPECT_FALSE(fs::exists(copy));
}

TEST_F(UnreadableSettingsFileTest, AnotherKindOfFileIsNotCopied) {
  ASSERT_EQ(::mkfifo(file.c_str(), 0644), 0);
  keepUnreadableSettingsFile(file);
  EXPECT_FALSE(fs::exists(copy));
  fs::remove(file);
  fs::create_directory(file);
  keepUnreadableSettingsFile(file);
  EXPECT_FALSE(fs::exists(copy));
}

TEST_F(UnreadableSettingsFileTest, AHugeFileIsNotCopied) {
  put("broken");
  fs::resize_file(file, 17 * 1024 * 1024);
  keepUnreadableSettingsFile(file);
  EXPECT_FALSE(fs::exists(copy));
}

TEST(SettingsFileOwnerTest, TheCopyOfAnUnreadableFileBelongsToItsOwner) {
  const platform::TemporaryFolder root;
  const uid_t owner = ::geteuid() == 0 ? 65534 : ::geteuid();
  const auto file = root.path("file");
  std::ofstream(file) << "broken";
  ASSERT_EQ(::chown(file.c_str(), owner, static_cast<gid_t>(-1)), 0);
  keepUnreadableSettingsFile(file);
  struct stat facts {};
  ASSERT_EQ(::stat((file + ".unreadable").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_uid, owner);
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
