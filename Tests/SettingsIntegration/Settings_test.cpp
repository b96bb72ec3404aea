// The settings file together with other programs, and on full and read-only disks.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/SettingsFiles/SettingsFiles.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::Value;
using testing_host::kOverlay;
using testing_host::put;

constexpr const char* kRoot = "/media/wevora-settings";

/// A small disk with the settings of a whole system.
class SettingsTest : public testing::Test, protected testing_host::SettingsFiles {
 protected:
  SettingsTest() : SettingsFiles(kRoot) {
    fs::create_directories(root);
    mounted = ::mount("tmpfs", root.c_str(), "tmpfs", 0, "size=128k") == 0;
    put(settingsTemplate, Dictionary{{"Other", "kept"}});
  }
  ~SettingsTest() override { ::umount2(root.c_str(), MNT_DETACH); }
  void SetUp() override { ASSERT_TRUE(mounted); }

  /// Takes all the space that is left.
  void fill() const {
    std::ofstream out(root + "/filler");
    while (out << std::string(4096, 'x') && out.flush()) {
    }
  }
  void unfill() const { fs::remove(root + "/filler"); }
  bool remount(unsigned long flags) const {
    return ::mount("tmpfs", root.c_str(), "tmpfs", MS_REMOUNT | flags, nullptr) == 0;
  }
  /// Runs a Python program, in which `path` is the file's path; returns its wait status.
  int python(const std::string& program) const {
    const std::string script = root + "/program.py";
    std::ofstream(script) << "import plistlib, sys\npath = '" << file << "'\n" << program;
    return std::system(("python3 -B " + script).c_str());
  }

  const std::string root = kRoot;
  bool mounted = false;
};

TEST_F(SettingsTest, AFullDiskBreaksTheFileAtWorstAndTheNextWriteRepairsIt) {
  const auto object = support();
  object->writeKey(kOverlay, Value(false));
  fill();
  object->writeKey("Long", Value(std::string(50000, 'y')));
  EXPECT_EQ(object->readKey(kOverlay), std::nullopt);
  object->writeKey(kOverlay, Value(false));
  unfill();
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), Value(false));
  EXPECT_EQ(object->readKey("KeepAlive"), Value(true));
}

TEST_F(SettingsTest, OnAFullDiskThereIsNoFileToReadUntilThereIsRoom) {
  fill();
  const auto object = support();
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), std::nullopt);
  unfill();
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), Value(false));
}

TEST_F(SettingsTest, AFileInAReadOnlyFolderIsReadAndStaysUnchanged) {
  support();
  ASSERT_TRUE(remount(MS_RDONLY));
  const auto object = support();
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), Value(true));
  EXPECT_EQ(object->readKey("Other"), Value("kept"));
}

TEST_F(SettingsTest, AReadOnlyHomeWithoutAFileHasNoSettings) {
  ASSERT_TRUE(remount(MS_RDONLY));
  const auto object = support();
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), std::nullopt);
}

TEST_F(SettingsTest, WritersInTwoProcessesLeaveAReadableFile) {
  support();
  std::vector<pid_t> writers;
  for (int writer = 0; writer < 2; ++writer) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      const auto object = support();
      for (int round = 0; round < 300; ++round)
        object->writeKey("Writer " + std::to_string(writer),
                         Value(std::string(static_cast<std::size_t>(round % 7 * 40), 'x')));
      ::_exit(0);
    }
    writers.push_back(child);
  }
  for (const pid_t writer : writers) {
    int status = -1;
    ASSERT_EQ(::waitpid(writer, &status, 0), writer);
    EXPECT_EQ(status, 0);
  }
  const auto object = support();
  EXPECT_EQ(object->readKey(kOverlay), Value(true));
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), Value(false));
}

TEST_F(SettingsTest, APythonProgramReadsTheWrittenFile) {
  const auto object = support();
  object->writeKey(kOverlay, Value(false));
  object->writeKey("Text", Value("<\xC3\xA9&> \xF0\x9F\x98\x80"));
  object->writeKey("Number", Value(std::int64_t{-7}));
  object->writeKey("Real", Value(0.1));
  object->writeKey("Date", Value(platform::Date{1700000000}));
  object->writeKey("Data", Value(platform::Data{std::byte{0}, std::byte{255}}));
  object->writeKey("Array", Value(platform::Array{true, "x", Dictionary{{"k", false}}}));
  EXPECT_EQ(python("import datetime\n"
                   "list = plistlib.load(open(path, 'rb'))\n"
                   "assert list == {'Other': 'kept', 'HideDesktopItem': False, 'KeepAlive': True,\n"
                   "  'RunAtLoad': True, 'kFinderOverlayEnabledKey': False,\n"
                   "  'Text': '<\\u00e9&> \\U0001f600', 'Number': -7, 'Real': 0.1,\n"
                   "  'Date': datetime.datetime(2023, 11, 14, 22, 13, 20),\n"
                   "  'Data': b'\\x00\\xff', 'Array': [True, 'x', {'k': False}]}, list\n"
                   "assert list['kFinderOverlayEnabledKey'] is False\n"),
            0);
}

TEST_F(SettingsTest, AFileOfAPythonProgramIsReadInBothForms) {
  const auto object = support();
  for (const std::string form : {"FMT_XML", "FMT_BINARY"}) {
    ASSERT_EQ(python("import datetime\n"
                     "list = {'kFinderOverlayEnabledKey': False, 'Text': '<\\u00e9&>',\n"
                     "  'Number': -7, 'Real': 0.1, 'Data': b'\\x00\\xff',\n"
                     "  'Date': datetime.datetime(2023, 11, 14, 22, 13, 20),\n"
                     "  'Array': [True, 'x', {'k': False}], '42': {'RunAtLoad': True}}\n"
                     "plistlib.dump(list, open(path, 'wb'), fmt=plistlib." +
                     form + ")\n"),
              0);
    EXPECT_EQ(support()->readKey(kOverlay), Value(false));
    EXPECT_EQ(object->readKey("Text"), Value("<\xC3\xA9&>"));
    EXPECT_EQ(object->readKey("Number"), Value(std::int64_t{-7}));
    EXPECT_EQ(object->readKey("Real"), Value(0.1));
    EXPECT_EQ(object->readKey("Date"), Value(platform::Date{1700000000}));
    EXPECT_EQ(object->readKey("Data"), Value(platform::Data{std::byte{0}, std::byte{255}}));
    EXPECT_EQ(object->readKey("Array"),
              Value(platform::Array{true, "x", Dictionary{{"k", false}}}));
    EXPECT_EQ(object->readKey("42"), Value(Dictionary{{"RunAtLoad", true}}));
  }
}

TEST_F(SettingsTest, AFileOfAPythonProgramIsChangedAndReadByItAgain) {
  const auto object = support();
  ASSERT_EQ(python("plistlib.dump({'kFinderOverlayEnabledKey': True, 'Own': [1, 2]},\n"
                   "  open(path, 'wb'), fmt=plistlib.FMT_BINARY)\n"),
            0);
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(python("list = plistlib.load(open(path, 'rb'))\n"
                   "assert list == {'kFinderOverlayEnabledKey': False, 'Own': [1, 2]}, list\n"),
            0);
}

TEST_F(SettingsTest, EveryTypeOfValueIsExchangedWithAPythonProgram) {
  const std::string expected =
      "import datetime\n"
      "expected = {'texts': ['', ' a\\t\\nb ', '<&>\"\\'\\u00e9\\u20ac\\U0001f600', ']]>'],\n"
      "  'integers': [0, -1, 2**63 - 1, -2**63, 2**63, 2**64 - 1],\n"
      "  'reals': [0.1, -0.0, 1e300, 5e-324, 1e22, 123456789.25, 5.0],\n"
      "  'dates': [datetime.datetime(1, 1, 1), datetime.datetime(9999, 12, 31, 23, 59, 59)],\n"
      "  'data': [b'', b'\\x00', b'\\xff' * 58, bytes(range(256))],\n"
      "  'deep': [[[[[{'a': [b'\\xff' * 300, {}]}]]]]], 'uid': {'CF$UID': 5}, '': [], '<&>': "
      "True}\n";
  support();
  ASSERT_EQ(python(expected + "plistlib.dump(expected, open(path, 'wb'))\n"), 0);
  const auto list = settings();
  ASSERT_TRUE(list && list->as<Dictionary>() != nullptr);
  put(file, *list->as<Dictionary>());
  EXPECT_EQ(python(expected + "list = plistlib.load(open(path, 'rb'))\n"
                              "assert list == expected, list\n"
                              "assert [repr(r) for r in list['reals']] == "
                              "[repr(r) for r in expected['reals']]\n"),
            0);
}

TEST_F(SettingsTest, AFileThatAnotherProgramDamagedIsKeptBeforeItIsRepaired) {
  const auto object = support();
  ASSERT_EQ(
      python("text = open(path).read().replace('</string>', '')\nopen(path, 'w').write(text)\n"),
      0);
  object->writeKey(kOverlay, Value(false));
  EXPECT_EQ(object->readKey(kOverlay), Value(false));
  EXPECT_EQ(python("text = open(path + '.unreadable').read()\n"
                   "assert '<key>Other</key>\\n\\t<string>kept\\n' in text, text\n"),
            0);
}

TEST_F(SettingsTest, OnAFullDiskNoPartOfAnUnreadableFileIsKept) {
  support();
  put(file, std::string(20000, 'x'));
  fill();
  const auto object = support();
  EXPECT_FALSE(fs::exists(file + ".unreadable"));
  EXPECT_EQ(object->readKey(kOverlay), Value(true));
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
