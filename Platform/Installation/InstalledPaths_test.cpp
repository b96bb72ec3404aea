#include "Platform/Installation/InstalledPaths.h"

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <future>
#include <pwd.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Installation/LoginUser.h"

namespace {

/// How often the password database was asked.
std::atomic<int> questions = 0;

/// The C library's own function, in whose place another stands here.
template <class Function>
Function* libraryFunction(const char* name) {
  ++questions;
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int getpwuid_r(uid_t user, passwd* row, char* buffer, std::size_t size, passwd** found) {
  return libraryFunction<decltype(getpwuid_r)>("getpwuid_r")(user, row, buffer, size, found);
}

extern "C" int getpwnam_r(const char* name, passwd* row, char* buffer, std::size_t size,
                          passwd** found) {
  return libraryFunction<decltype(getpwnam_r)>("getpwnam_r")(name, row, buffer, size, found);
}

namespace wevora::platform {
namespace {

constexpr const char* kInfo =
    "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist";
constexpr const char* kTemplate = "/Library/Application Support/Wevora/wevora-settings.plist";

std::string settingsOf(const std::string& user) {
  return "/Users/" + user + "/Library/Application Support/Wevora/wevora-settings.plist";
}

TEST(InstalledPathsTest, ThePluginLiesBelowTheInstallPrefix) {
  EXPECT_EQ(InstalledPaths().translate(kInfo), WEVORA_INSTALL_PREFIX
            "/lib/wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist");
}

TEST(InstalledPathsTest, TheTemplateLiesInTheSystemsConfiguration) {
  EXPECT_EQ(InstalledPaths().translate(kTemplate), "/etc/xdg/Wevora/wevora-settings.plist");
}

TEST(InstalledPathsTest, TheSettingsLieBelowTheHomeFolderOfThePasswordDatabase) {
  const passwd* row = ::getpwuid(::getuid());
  ASSERT_NE(row, nullptr);
  const std::string home = row->pw_dir;
  ::setenv("HOME", "/somewhere/else", 1);
  ::setenv("XDG_CONFIG_HOME", "/somewhere/else", 1);
  EXPECT_EQ(InstalledPaths().translate(settingsOf(row->pw_name)),
            home + "/.config/Wevora/wevora-settings.plist");
}

TEST(InstalledPathsTest, TheSettingsOfAnUnknownUserAreNowhere) {
  EXPECT_EQ(InstalledPaths().translate(settingsOf("no such user")), "");
  EXPECT_EQ(InstalledPaths().translate(settingsOf("")), "");
}

TEST(InstalledPathsTest, ATextInNoRowIsLeftAsItIs) {
  for (const char* path : {"", "/", "/Library", "/Library/Wevora/FinderPlugin", "/Users/me/x",
                           "/Users", "/Volumes/a/Library/Application Support/Wevora/x", "\xFF"})
    EXPECT_EQ(InstalledPaths().translate(path), path);
}

TEST(InstalledPathsTest, AnotherRootHoldsEverything) {
  const auto paths = InstalledPaths::belowRoot("/r");
  EXPECT_EQ(paths.translate(kInfo),
            "/r/lib/wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist");
  EXPECT_EQ(paths.translate(kTemplate), "/r/etc/xdg/Wevora/wevora-settings.plist");
  EXPECT_EQ(paths.translate(settingsOf("ann")), "/r/home/ann/.config/Wevora/wevora-settings.plist");
}

TEST(InstalledPathsTest, NoNameLeadsOutOfTheFolderOfHomes) {
  const auto paths = InstalledPaths::belowRoot("/r");
  EXPECT_EQ(paths.translate(settingsOf("..")), "");
  EXPECT_EQ(paths.translate(settingsOf(".")), "");
}

TEST(InstalledPathsTest, TheProcessHasOneThatAProgramMaySet) {
  InstalledPaths::setShared(InstalledPaths::belowRoot("/other"));
  EXPECT_EQ(InstalledPaths::shared().translate(kTemplate),
            "/other/etc/xdg/Wevora/wevora-settings.plist");
}

TEST(LoginUserTest, TheLoginNameIsThatOfTheProcessAndNotOfTheEnvironment) {
  ::setenv("USER", "somebody", 1);
  ::setenv("LOGNAME", "somebody", 1);
  const auto name = loginName();
  ASSERT_TRUE(name);
  const passwd* row = ::getpwnam(name->c_str());
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->pw_uid, ::getuid());
}

TEST(LoginUserTest, AUserHasAnId) {
  const auto name = loginName();
  ASSERT_TRUE(name);
  EXPECT_EQ(idOfUser(*name), ::getuid());
}

TEST(CachedUserTest, TheDatabaseIsAskedOnceForTheUserOfTheProcess) {
  std::vector<uid_t> asked;
  CachedUser remembered([&](uid_t user) {
    asked.push_back(user);
    return std::optional(PasswdEntry{"ann", "/home/ann", user});
  });
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(remembered.row(1000), (PasswdEntry{"ann", "/home/ann", 1000}));
  EXPECT_EQ(asked, std::vector<uid_t>{1000});
  remembered.row(1001);
  EXPECT_EQ(asked, (std::vector<uid_t>{1000, 1001}));
}

TEST(CachedUserTest, ADatabaseThatDoesNotAnswerIsAskedAgain) {
  std::optional<PasswdEntry> answer;
  CachedUser remembered([&](uid_t) { return answer; });
  EXPECT_EQ(remembered.row(1000), std::nullopt);
  answer = PasswdEntry{"ann", "/home/ann", 1000};
  EXPECT_EQ(remembered.row(1000), answer);
  answer.reset();
  EXPECT_EQ(remembered.row(1000)->name, "ann");
}

TEST(CachedUserTest, ARowThatIsRememberedIsThereWhileAnotherThreadWaitsForTheDatabase) {
  std::promise<void> waiting;
  std::promise<void> answered;
  CachedUser remembered([&](uid_t user) {
    if (user == 1001) {
      waiting.set_value();
      answered.get_future().wait();
    }
    return std::optional(PasswdEntry{"ann", "/home/ann", user});
  });
  remembered.row(1000);
  std::thread other([&] { remembered.row(1001); });
  waiting.get_future().wait();
  EXPECT_TRUE(remembered.row(1000));
  answered.set_value();
  other.join();
}

TEST(LoginUserTest, AProcessAsksThePasswordDatabaseOnceForItsOwnUser) {
  const auto name = loginName();
  ASSERT_TRUE(name);
  const auto home = homeFolderOfUser(*name);
  questions = 0;
  EXPECT_EQ(loginName(), name);
  EXPECT_EQ(homeFolderOfUser(*name), home);
  EXPECT_EQ(idOfUser(*name), ::getuid());
  InstalledPaths().translate(settingsOf(*name));
  EXPECT_EQ(questions, 0);
  idOfUser("no such user");
  EXPECT_EQ(questions, 1);
}

TEST(LoginUserTest, AnUnknownUserHasNoHomeFolderAndNoId) {
  EXPECT_EQ(idOfUser("no such user"), std::nullopt);
  EXPECT_EQ(homeFolderOfUser("no such user"), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
