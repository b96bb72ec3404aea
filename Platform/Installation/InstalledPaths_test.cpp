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

/// The number of password database lookups.
std::atomic<int> lookups = 0;

/// The C library's function that is interposed below.
template <class Function>
Function* libraryFunction(const char* name) {
  ++lookups;
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int getpwuid_r(uid_t user, passwd* entry, char* buffer, std::size_t size,
                          passwd** found) {
  return libraryFunction<decltype(getpwuid_r)>("getpwuid_r")(user, entry, buffer, size, found);
}

extern "C" int getpwnam_r(const char* name, passwd* entry, char* buffer, std::size_t size,
                          passwd** found) {
  return libraryFunction<decltype(getpwnam_r)>("getpwnam_r")(name, entry, buffer, size, found);
}

namespace wevora::platform {
namespace {

constexpr const char* kInfo =
    "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist";
constexpr const char* kTemplate = "/Library/Application Support/Wevora/wevora-settings.plist";

std::string settingsOf(const std::string& user) {
  return "/Users/" + user + "/Library/Application Support/Wevora/wevora-settings.plist";
}

TEST(InstalledPathsTest, ThePluginIsBelowTheInstallPrefix) {
  EXPECT_EQ(InstalledPaths().translate(kInfo), WEVORA_INSTALL_PREFIX
            "/lib/wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist");
}

TEST(InstalledPathsTest, TheTemplateIsInTheSystemsConfiguration) {
  EXPECT_EQ(InstalledPaths().translate(kTemplate), "/etc/xdg/Wevora/wevora-settings.plist");
}

TEST(InstalledPathsTest, TheSettingsAreInTheHomeFolderFromThePasswordDatabase) {
  const passwd* entry = ::getpwuid(::getuid());
  ASSERT_NE(entry, nullptr);
  const std::string home = entry->pw_dir;
  ::setenv("HOME", "/somewhere/else", 1);
  ::setenv("XDG_CONFIG_HOME", "/somewhere/else", 1);
  EXPECT_EQ(InstalledPaths().translate(settingsOf(entry->pw_name)),
            home + "/.config/Wevora/wevora-settings.plist");
}

TEST(InstalledPathsTest, TheSettingsOfAnUnknownUserHaveAnEmptyPath) {
  EXPECT_EQ(InstalledPaths().translate(settingsOf("no such user")), "");
  EXPECT_EQ(InstalledPaths().translate(settingsOf("")), "");
}

TEST(InstalledPathsTest, APathOutsideTheTableIsReturnedUnchanged) {
  for (const char* path : {"", "/", "/Library", "/Library/Wevora/FinderPlugin", "/Users/me/x",
                           "/Users", "/Volumes/a/Library/Application Support/Wevora/x", "\xFF"})
    EXPECT_EQ(InstalledPaths().translate(path), path);
}

TEST(InstalledPathsTest, AnotherRootContainsEverything) {
  const auto paths = InstalledPaths::belowRoot("/r");
  EXPECT_EQ(paths.translate(kInfo),
            "/r/lib/wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist");
  EXPECT_EQ(paths.translate(kTemplate), "/r/etc/xdg/Wevora/wevora-settings.plist");
  EXPECT_EQ(paths.translate(settingsOf("ann")), "/r/home/ann/.config/Wevora/wevora-settings.plist");
}

TEST(InstalledPathsTest, AUserNameCannotEscapeTheFolderOfHomes) {
  const auto paths = InstalledPaths::belowRoot("/r");
  EXPECT_EQ(paths.translate(settingsOf("..")), "");
  EXPECT_EQ(paths.translate(settingsOf(".")), "");
}

TEST(InstalledPathsTest, AProgramMayReplaceTheInstanceOfTheProcess) {
  InstalledPaths::setShared(InstalledPaths::belowRoot("/other"));
  EXPECT_EQ(InstalledPaths::shared().translate(kTemplate),
            "/other/etc/xdg/Wevora/wevora-settings.plist");
}

TEST(LoginUserTest, TheLoginNameComesFromTheProcessNotFromTheEnvironment) {
  ::setenv("USER", "somebody", 1);
  ::setenv("LOGNAME", "somebody", 1);
  const auto name = loginName();
  ASSERT_TRUE(name);
  const passwd* entry = ::getpwnam(name->c_str());
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->pw_uid, ::getuid());
}

TEST(LoginUserTest, AUserHasAnId) {
  const auto name = loginName();
  ASSERT_TRUE(name);
  EXPECT_EQ(idOfUser(*name), ::getuid());
}

TEST(CachedUserTest, TheDatabaseIsQueriedOnceForTheUserOfTheProcess) {
  std::vector<uid_t> lookedUp;
  CachedUser cached([&](uid_t user) {
    lookedUp.push_back(user);
    return std::optional(PasswdEntry{"ann", "/home/ann", user});
  });
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(cached.entry(1000), (PasswdEntry{"ann", "/home/ann", 1000}));
  EXPECT_EQ(lookedUp, std::vector<uid_t>{1000});
  cached.entry(1001);
  EXPECT_EQ(lookedUp, (std::vector<uid_t>{1000, 1001}));
}

TEST(CachedUserTest, AFailedLookupIsNotCached) {
  std::optional<PasswdEntry> found;
  CachedUser cached([&](uid_t) { return found; });
  EXPECT_EQ(cached.entry(1000), std::nullopt);
  found = PasswdEntry{"ann", "/home/ann", 1000};
  EXPECT_EQ(cached.entry(1000), found);
  found.reset();
  EXPECT_EQ(cached.entry(1000)->name, "ann");
}

TEST(CachedUserTest, ACachedEntryIsAvailableWhileAnotherThreadWaitsForTheDatabase) {
  std::promise<void> waiting;
  std::promise<void> answered;
  CachedUser cached([&](uid_t user) {
    if (user == 1001) {
      waiting.set_value();
      answered.get_future().wait();
    }
    return std::optional(PasswdEntry{"ann", "/home/ann", user});
  });
  cached.entry(1000);
  std::thread other([&] { cached.entry(1001); });
  waiting.get_future().wait();
  EXPECT_TRUE(cached.entry(1000));
  answered.set_value();
  other.join();
}

TEST(LoginUserTest, AProcessQueriesThePasswordDatabaseOnceForItsOwnUser) {
  const auto name = loginName();
  ASSERT_TRUE(name);
  const auto home = homeFolderOfUser(*name);
  lookups = 0;
  EXPECT_EQ(loginName(), name);
  EXPECT_EQ(homeFolderOfUser(*name), home);
  EXPECT_EQ(idOfUser(*name), ::getuid());
  InstalledPaths().translate(settingsOf(*name));
  EXPECT_EQ(lookups, 0);
  idOfUser("no such user");
  EXPECT_EQ(lookups, 1);
}

TEST(LoginUserTest, AnUnknownUserHasNoHomeFolderAndNoId) {
  EXPECT_EQ(idOfUser("no such user"), std::nullopt);
  EXPECT_EQ(homeFolderOfUser("no such user"), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
