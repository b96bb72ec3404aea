#include "CommonCode/Tools/WVRAppSupport/WVRAppSupport.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "CommonCode/Tools/WVRAppSupport/DefaultSettings.h"
#include "Platform/PropertyLists/PropertyLists.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/SettingsFiles/SettingsFiles.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::PropertyLists;
using platform::Value;
using testing_host::kOverlay;
using testing_host::put;

Dictionary defaults() {
  return {{"HideDesktopItem", false}, {kOverlay, true}, {"KeepAlive", true}, {"RunAtLoad", true}};
}

std::string contentsOf(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

mode_t modeOf(const std::string& path) {
  struct stat facts {};
  EXPECT_EQ(::stat(path.c_str(), &facts), 0) << path;
  return facts.st_mode & 07777U;
}

class FolderOfItsOwn {
 protected:
  platform::TemporaryFolder root;
};

class WVRAppSupportTest : public testing::Test,
                          protected FolderOfItsOwn,
                          protected testing_host::SettingsFiles {
 protected:
  WVRAppSupportTest() : SettingsFiles(root.path()) {}
};

TEST_F(WVRAppSupportTest, ThePathsAreTheSystemsOwn) {
  EXPECT_STREQ(kUserAppSupportFilePath,
               "/Users/%@/Library/Application Support/Wevora/wevora-settings.plist");
  EXPECT_STREQ(kDefaultAppSupportFilePath,
               "/Library/Application Support/Wevora/wevora-settings.plist");
}

TEST_F(WVRAppSupportTest, WithoutAFileAndATemplateOnlyTheFolderIsCreated) {
  const auto mask = ::umask(077);
  const auto object = support();
  ::umask(mask);
  EXPECT_EQ(modeOf(folder), 0755U);
  EXPECT_EQ(modeOf(home + "/.config"), 0755U);
  EXPECT_FALSE(fs::exists(file));
  EXPECT_EQ(object->readKey(kOverlay), std::nullopt);
}

TEST_F(WVRAppSupportTest, AnExistingFolderKeepsItsMode) {
  fs::create_directories(folder);
  fs::permissions(folder, fs::perms::owner_all);
  support();
  EXPECT_EQ(modeOf(folder), 0700U);
}

TEST_F(WVRAppSupportTest, AMissingFileIsACopyOfTheTemplateWithTheDefaults) {
  put(settingsTemplate, Dictionary{{"Other", "kept"}, {kOverlay, false}});
  fs::permissions(settingsTemplate, fs::perms::owner_read);
  const auto object = support();
  auto expected = defaults();
  expected.set("Other", "kept");
  EXPECT_EQ(settings(), Value(expected));
  EXPECT_EQ(modeOf(file), 0644U);
  struct stat facts {};
  ASSERT_EQ(::stat(file.c_str(), &facts), 0);
  EXPECT_EQ(facts.st_uid, ::getuid());
  EXPECT_EQ(object->readKey(kOverlay), Value(true));
}

TEST_F(WVRAppSupportTest, TheTemplateIsNeverWritten) {
  put(settingsTemplate, Dictionary{{"Other", "kept"}});
  const auto before = contentsOf(settingsTemplate);
  support()->writeKey(kOverlay, Value(false));
  EXPECT_EQ(contentsOf(settingsTemplate), before);
}

TEST_F(WVRAppSupportTest, AnEmptyDictionaryGetsTheDefaults) {
  put(file, Dictionary());
  support();
  EXPECT_EQ(settings(), Value(defaults()));
}

TEST_F(WVRAppSupportTest, AFileWithOneEntryStaysUnchanged) {
  put(file, Dictionary{{kOverlay, false}});
  const auto before = contentsOf(file);
  const auto object = support();
  EXPECT_EQ(contentsOf(file), before);
  EXPECT_EQ(object->readKey(kOverlay), Value(false));
  EXPECT_EQ(object->readKey("KeepAlive"), std::nullopt);
}

TEST_F(WVRAppSupportTest, AFileThatIsNotADictionaryIsOverwrittenWithDefaultsInPlace) {
  std::mt19937 random(3);
  std::string noise(5000, '\0');
  for (char& byte : noise) byte = static_cast<char>(random());
  for (const auto& text :
       {std::string(), noise, std::string("<plist version=\"1.0\"><array><true/></array></plist>"),
        std::string("<plist version=\"1.0\"><dict><key>a</key>")}) {
    put(file, text);
    support();
    EXPECT_EQ(settings(), Value(defaults()));
    // Not truncated: the end of a longer text remains.
    EXPECT_GE(contentsOf(file).size(), text.size());
  }
}

TEST_F(WVRAppSupportTest, AnUnreadableFileIsKeptBeforeTheDefaultsOverwriteIt) {
  const std::string text = "<plist><dict><key>Mine</key><string>\n</dict></plist>";
  put(file, text);
  const auto object = support();
  EXPECT_EQ(contentsOf(file + ".unreadable"), text);
  EXPECT_EQ(settings(), Value(defaults()));
  put(file, "broken again");
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), Value(false));
  EXPECT_EQ(contentsOf(file + ".unreadable"), text);
}

TEST_F(WVRAppSupportTest, AnEmptyFileAndAnEmptyDictionaryAreNotKept) {
  put(file, std::string());
  support();
  put(file, Dictionary());
  support();
  EXPECT_EQ(settings(), Value(defaults()));
  EXPECT_FALSE(fs::exists(file + ".unreadable"));
}

TEST_F(WVRAppSupportTest, TheDefaultsAreWrittenThoughTheUnreadableFileCannotBeKept) {
  put(file, "broken");
  fs::create_directory(file + ".unreadable");
  support();
  EXPECT_EQ(settings(), Value(defaults()));
}

TEST_F(WVRAppSupportTest, AReadRepairsNothing) {
  const auto object = support();
  put(file, "broken");
  EXPECT_EQ(object->readKey(kOverlay), std::nullopt);
  EXPECT_EQ(contentsOf(file), "broken");
  EXPECT_FALSE(fs::exists(file + ".unreadable"));
}

TEST_F(WVRAppSupportTest, ABinaryFileIsReadAndStaysUnchanged) {
  const std::string binary(
      "bplist00\xD1\x01\x02\x58HideItem\x09\x08\x0B\x14\0\0\0\0\0\0\x01\x01"
      "\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x15",
      8 + 3 + 9 + 1 + 3 + 32);
  put(file, binary);
  const auto object = support();
  EXPECT_EQ(contentsOf(file), binary);
  EXPECT_EQ(object->readKey("HideItem"), Value(true));
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(settings(), Value(Dictionary{{"HideItem", true}, {kOverlay, false}}));
}

TEST_F(WVRAppSupportTest, AValueThatXmlCannotHoldLosesNoSetting) {
  // The badges are off, and the key "x" has a control character, or a null.
  for (const auto& odd : {std::string("\x51\x01"), std::string("\0", 1)}) {
    std::string binary("bplist00\xD2\x01\x02\x03\x04\x5F\x10\x18kFinderOverlayEnabledKey\x51x\x08",
                       43);
    const auto size = static_cast<char>(binary.size() + odd.size());
    binary += odd + std::string("\x08\x0D\x28\x2A\x2B", 5) + std::string(6, '\0') + "\x01\x01" +
              std::string(7, '\0') + "\x05" + std::string(15, '\0') + size;
    put(file, binary);
    const auto object = support();
    EXPECT_EQ(contentsOf(file), binary);
    EXPECT_EQ(object->readKey(kOverlay), Value(false));
    // XML cannot hold all of it, so nothing is written.
    object->writeKey("KeepAlive", Value(true));
    EXPECT_EQ(contentsOf(file), binary);
  }
}

TEST_F(WVRAppSupportTest, ValuesOfAnotherProgramSurviveAWrite) {
  put(file, std::string("<plist version=\"1.0\"><dict>"
                        "<key>big</key><integer>18446744073709551615</integer>"
                        "<key>never</key><date>4001-01-01T00:00:00Z</date>"
                        "<key>id</key><dict><key>CF$UID</key><integer>5</integer></dict>"
                        "</dict></plist>"));
  const auto before = *settings()->as<Dictionary>();
  ASSERT_EQ(before.size(), 3U);
  support()->writeKey(kOverlay, Value(false));
  auto expected = before;
  expected.set(kOverlay, false);
  EXPECT_EQ(settings(), Value(expected));
  EXPECT_NE(contentsOf(file).find("<integer>18446744073709551615</integer>"), std::string::npos);
}

TEST_F(WVRAppSupportTest, AWrittenValueIsReadAndTheOtherKeysStay) {
  put(file, Dictionary{{"Other", "kept"}});
  const auto object = support();
  object->writeKey(kOverlay, Value(false));
  object->writeKey("Text", Value("\xC3\xA9"));
  EXPECT_EQ(object->readKey(kOverlay), Value(false));
  EXPECT_EQ(settings(),
            Value(Dictionary{{"Other", "kept"}, {kOverlay, false}, {"Text", "\xC3\xA9"}}));
}

TEST_F(WVRAppSupportTest, TheUserOfACallHasNoEffect) {
  put(file, Dictionary{{kOverlay, false}});
  const auto object = support();
  for (const auto& user : {WVRAppSupport::Text("42"), WVRAppSupport::Text()})
    EXPECT_EQ(object->readKey(kOverlay, user), object->readKey(kOverlay));
  object->writeKey(kOverlay, Value(true), "42");
  EXPECT_EQ(settings(), Value(Dictionary{{kOverlay, true}}));
}

TEST_F(WVRAppSupportTest, WritingNoValueOrUnderNoKeyDoesNotTouchTheFile) {
  put(settingsTemplate, Dictionary{{"Other", "kept"}});
  const auto object = support();
  fs::remove(file);
  object->writeKey(kOverlay, std::nullopt);
  object->writeKey(std::nullopt, Value(true));
  EXPECT_FALSE(fs::exists(file));
  EXPECT_EQ(object->readKey(std::nullopt), std::nullopt);
}

TEST_F(WVRAppSupportTest, AShorterTextLeavesTheEndOfTheLongerOneBehindIt) {
  put(file, Dictionary{{"Key", std::string(500, 'x')}});
  const auto before = contentsOf(file);
  const auto object = support();
  object->writeKey("Key", Value("y"));
  const auto shorter = PropertyLists::xml({{"Key", Value("y")}}).value();
  EXPECT_EQ(contentsOf(file), shorter + before.substr(shorter.size()));
  EXPECT_EQ(object->readKey("Key"), Value("y"));
  object->writeKey("Key", Value("z"));
  EXPECT_EQ(object->readKey("Key"), Value("z"));
}

TEST_F(WVRAppSupportTest, AWriteRecreatesARemovedFile) {
  put(settingsTemplate, Dictionary{{"Other", "kept"}});
  const auto object = support();
  fs::remove_all(root.path("home"));
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), Value(false));
  EXPECT_EQ(object->readKey("Other"), Value("kept"));
}

TEST_F(WVRAppSupportTest, AFileThatIsRemovedDuringAWriteIsRecreatedAndWritten) {
  put(settingsTemplate, Dictionary{{"Other", std::string(2000, 'x')}});
  put(file, Dictionary{{"Mine", "kept"}});
  const auto object = support();
  std::optional<Value> read;
  object->setUnlockedHook([&] {
    // Returns only because the lock is free.
    read = object->readKey("Mine");
    fs::remove_all(root.path("home"));
  });
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(read, Value("kept"));
  EXPECT_EQ(settings(), Value(Dictionary{{"Mine", "kept"}, {kOverlay, false}}));
  EXPECT_EQ(modeOf(file), 0644U);
  // The text was written over the file that the repair created.
  EXPECT_NE(contentsOf(file).find("xxx"), std::string::npos);
}

TEST_F(WVRAppSupportTest, AFileThatIsEmptiedDuringAWriteIsStillWritten) {
  put(file, Dictionary{{"Mine", "kept"}});
  const auto object = support();
  object->setUnlockedHook([&] { put(file, std::string()); });
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(settings(), Value(Dictionary{{"Mine", "kept"}, {kOverlay, false}}));
  // The defaults were there first, and were longer.
  EXPECT_GT(contentsOf(file).size(), PropertyLists::xml(*settings()->as<Dictionary>())->size());
}

TEST_F(WVRAppSupportTest, AWriteToABrokenFileStartsFromTheDefaults) {
  const auto object = support();
  put(file, "broken");
  object->writeKey(kOverlay, Value(false));
  auto expected = defaults();
  expected.set(kOverlay, false);
  EXPECT_EQ(settings(), Value(expected));
}

TEST_F(WVRAppSupportTest, WithoutAFileAndATemplateNothingIsWritten) {
  support()->writeKey(kOverlay, Value(false));
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(WVRAppSupportTest, AValueThatHasNoXmlFormIsNotWritten) {
  put(file, Dictionary{{kOverlay, false}});
  const auto before = contentsOf(file);
  const auto object = support();
  object->writeKey("Key", Value("\xFF"));
  object->writeKey("\xFF", Value(true));
  EXPECT_EQ(contentsOf(file), before);
}

TEST_F(WVRAppSupportTest, RestoringReplacesTheFileByTheTemplate) {
  put(settingsTemplate, Dictionary{{"Other", "kept"}});
  put(file, Dictionary{{kOverlay, false}});
  const auto object = support();
  object->restoreUserAppSupportFile();
  EXPECT_EQ(settings(), Value(Dictionary{{"Other", "kept"}}));
  EXPECT_EQ(modeOf(file), 0644U);
  fs::remove(settingsTemplate);
  object->restoreUserAppSupportFile();
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(WVRAppSupportTest, WritingTheDefaultsOverwritesTheFourKeysOnly) {
  put(file, Dictionary{{"RunAtLoad", "odd"}, {"Other", "kept"}, {kOverlay, false}});
  support()->writeDefaultSettingsForUserIfNeed();
  auto expected = defaults();
  expected.set("Other", "kept");
  EXPECT_EQ(settings(), Value(expected));
}

TEST_F(WVRAppSupportTest, AnotherKindOfFileDoesNotBlockTheCaller) {
  fs::create_directories(folder);
  ASSERT_EQ(::mkfifo(file.c_str(), 0644), 0);
  const auto object = support();
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), std::nullopt);
  fs::remove(file);
  fs::create_directory(file);
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), std::nullopt);
}

TEST_F(WVRAppSupportTest, TheArgumentOfInitHasNoEffect) {
  put(file, Dictionary{{kOverlay, false}});
  EXPECT_EQ(WVRAppSupport::initWith(std::string("42"), paths)->readKey(kOverlay), Value(false));
  EXPECT_EQ(WVRAppSupport::initWith(nullptr, paths)->readKey(kOverlay), Value(false));
}

TEST_F(WVRAppSupportTest, AnUnknownUserHasNoSettingsAndLosesNothing) {
  for (const auto& user : {WVRAppSupport::Text(), WVRAppSupport::Text("no such user")}) {
    const auto object = WVRAppSupport::initWithUserName(user, platform::InstalledPaths());
    object->writeKey(kOverlay, Value(false));
    EXPECT_EQ(object->readKey(kOverlay), std::nullopt);
  }
}

TEST_F(WVRAppSupportTest, ThreadsMayShareAnObject) {
  put(file, defaults());
  const auto object = support();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&object, i] {
      for (int round = 0; round < 50; ++round) {
        object->writeKey("Key " + std::to_string(i), Value(std::int64_t{round}));
        object->readKey(kOverlay);
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(support()->readKey(kOverlay), Value(true));
}

TEST(DefaultSettingsTest, AnAccountHasTheSameFourKeysInADictionaryOfItsOwn) {
  Dictionary settings{{"Other", true}};
  setDefaultSettings(settings, "42");
  auto expected = defaults();
  expected.set("Other", true);
  expected.set("42", defaults());
  EXPECT_EQ(settings, expected);
}

TEST(DefaultSettingsTest, AnAccountsOwnDictionaryKeepsItsOtherKeys) {
  Dictionary settings{{"42", Dictionary{{"Own", "kept"}, {kOverlay, false}}}};
  setDefaultSettings(settings, "42");
  auto own = defaults();
  own.set("Own", "kept");
  EXPECT_EQ(*valueAs<Dictionary>(settings, "42"), own);
}

}  // namespace
}  // namespace wevora
