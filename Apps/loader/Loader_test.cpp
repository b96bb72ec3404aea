#include "Apps/loader/Loader.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FinderIntegration/wevoraLoader/sharedcheck.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::loader {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Words = std::vector<std::string>;

constexpr BundleVersion kInstalled{2, 0, 1};

/// Records its calls.
class RecordedProcesses : public Processes {
 public:
  void become(const Words& command, const Variables& more) override {
    became = command;
    variables = more;
  }
  bool start(const Words& command, const Variables& more) override {
    started.push_back(command);
    variables = more;
    return true;
  }
  bool ends(pid_t process, std::chrono::milliseconds) override {
    waitedFor.push_back(process);
    return quits;
  }

  Words became;
  Variables variables;
  std::vector<Words> started;
  std::vector<pid_t> waitedFor;
  bool quits = true;
};

class LoaderTest : public testing::Test {
 protected:
  Loader loader() {
    return Loader({.processes = processes,
                   .running = [this] { return running; },
                   .installed = installed,
                   .pluginFolder = "/plugins",
                   .environment = environment,
                   .out = out,
                   .errors = errors});
  }
  void add(const char* host, pid_t process, Holding holding, Words command = {"host"}) {
    RunningHost one{hostNamed(host), process, std::move(command), holding, std::nullopt};
    if (holding == Holding::Installed) one.version = kInstalled;
    if (holding == Holding::Another) one.version = BundleVersion{1, 9, 0};
    running.push_back(one);
  }

  RecordedProcesses processes;
  std::vector<RunningHost> running;
  std::optional<BundleVersion> installed = kInstalled;
  Variables environment;
  std::ostringstream out;
  std::ostringstream errors;
};

TEST_F(LoaderTest, NautilusNeedsNothingInItsEnvironment) {
  loader().start(*hostNamed("nautilus"), Words{"/tmp"});
  EXPECT_THAT(processes.became, ElementsAre("nautilus", "/tmp"));
  EXPECT_THAT(processes.variables, IsEmpty());
}

TEST_F(LoaderTest, TheQtHostFindsThePluginByItsEnvironment) {
  loader().start(*hostNamed("pcmanfm-qt"), Words{"/tmp", "/etc"});
  EXPECT_THAT(processes.became, ElementsAre("pcmanfm-qt", "/tmp", "/etc"));
  EXPECT_EQ(processes.variables.at("QT_PLUGIN_PATH"), "/plugins");
  EXPECT_EQ(processes.variables.at("QT_QPA_GENERIC_PLUGINS"), "wevora");
}

TEST_F(LoaderTest, TheDesktopIsAModeOfTheQtHost) {
  loader().start(*hostNamed("pcmanfm-qt-desktop"), Words{"--profile=lxqt"});
  EXPECT_THAT(processes.became, ElementsAre("pcmanfm-qt", "--desktop", "--profile=lxqt"));
}

TEST_F(LoaderTest, AHostWithAnotherVersionCausesAHintToRestart) {
  add("pcmanfm-qt", 12, Holding::Another);
  add("nautilus", 13, Holding::Another);
  add("pcmanfm-qt", 14, Holding::Installed);
  loader().start(*hostNamed("pcmanfm-qt"), {});
  EXPECT_THAT(errors.str(),
              HasSubstr("wevora-loader: pcmanfm-qt (process 12) holds version 1.9.0; "
                        "wevora-loader --restart starts it with the installed one\n"));
  EXPECT_THAT(errors.str(), Not(HasSubstr("process 13")));
  EXPECT_THAT(errors.str(), Not(HasSubstr("process 14")));
  EXPECT_THAT(processes.became, ElementsAre("pcmanfm-qt"));
}

TEST_F(LoaderTest, PluginsInTheEnvironmentAreKept) {
  environment = {{"QT_PLUGIN_PATH", "/other"}, {"QT_QPA_GENERIC_PLUGINS", "evdevtouch"}};
  loader().start(*hostNamed("pcmanfm-qt"), {});
  EXPECT_EQ(processes.variables.at("QT_PLUGIN_PATH"), "/plugins:/other");
  EXPECT_EQ(processes.variables.at("QT_QPA_GENERIC_PLUGINS"), "wevora,evdevtouch");
}

TEST_F(LoaderTest, EnvironmentEntriesAreNotDuplicated) {
  environment = {{"QT_PLUGIN_PATH", "/other:/plugins"}, {"QT_QPA_GENERIC_PLUGINS", "a,wevora"}};
  loader().start(*hostNamed("pcmanfm-qt"), {});
  EXPECT_EQ(processes.variables.at("QT_PLUGIN_PATH"), "/other:/plugins");
  EXPECT_EQ(processes.variables.at("QT_QPA_GENERIC_PLUGINS"), "a,wevora");
}

TEST_F(LoaderTest, AHostThatCannotBeStartedIsReported) {
  EXPECT_EQ(loader().start(*hostNamed("nautilus"), {}), Loader::kNotStarted);
  EXPECT_THAT(errors.str(), HasSubstr("nautilus cannot be started"));
}

TEST_F(LoaderTest, AHostThatRunsWithoutTheBundleIsReported) {
  add("pcmanfm-qt", 7, Holding::Nothing);
  loader().start(*hostNamed("pcmanfm-qt"), {});
  EXPECT_THAT(errors.str(), HasSubstr("pcmanfm-qt (process 7) runs without the bundle"));
  EXPECT_FALSE(processes.became.empty());
}

TEST_F(LoaderTest, WithoutABundleNothingIsStarted) {
  installed.reset();
  EXPECT_EQ(loader().start(*hostNamed("nautilus"), {}), Loader::kNotStarted);
  EXPECT_TRUE(processes.became.empty());
}

TEST_F(LoaderTest, TheStatusListsEachHostAndItsVersion) {
  add("nautilus", 5, Holding::Installed);
  add("pcmanfm-qt-desktop", 6, Holding::Another);
  add("pcmanfm-qt", 7, Holding::Nothing);
  EXPECT_EQ(loader().status(), Loader::kAnotherVersion);
  EXPECT_EQ(out.str(),
            "installed: version 2.0.1\n"
            "nautilus (process 5): holds version 2.0.1, as installed\n"
            "pcmanfm-qt-desktop (process 6): holds version 1.9.0\n"
            "pcmanfm-qt (process 7): runs without the bundle\n");
}

TEST_F(LoaderTest, TheStatusIsZeroWithoutRunningHosts) {
  EXPECT_EQ(loader().status(), Loader::kDone);
  EXPECT_THAT(out.str(), HasSubstr("no supported file manager is running"));
}

TEST_F(LoaderTest, ARestartAsksOnlyHostsOfAnotherVersionToQuit) {
  add("nautilus", 5, Holding::Installed);
  add("pcmanfm-qt", 6, Holding::Nothing);
  EXPECT_EQ(loader().restart(), Loader::kDone);
  EXPECT_THAT(processes.started, IsEmpty());
}

TEST_F(LoaderTest, AHostOfAnotherVersionQuitsByItsOwnCommandAndIsRestartedWithItsArguments) {
  add("pcmanfm-qt-desktop", 6, Holding::Another, {"/usr/bin/pcmanfm-qt", "--desktop"});
  EXPECT_EQ(loader().restart(), Loader::kDone);
  EXPECT_THAT(processes.waitedFor, ElementsAre(6));
  EXPECT_THAT(processes.started,
              ElementsAre(Words{"pcmanfm-qt", "--quit"}, Words{"pcmanfm-qt", "--desktop"}));
  EXPECT_EQ(processes.variables.at("QT_QPA_GENERIC_PLUGINS"), "wevora");
}

TEST_F(LoaderTest, AHostThatDoesNotQuitIsLeftRunningAndReported) {
  processes.quits = false;
  add("nautilus", 5, Holding::Another);
  EXPECT_EQ(loader().restart(), Loader::kNotQuit);
  EXPECT_THAT(errors.str(), HasSubstr("was asked to quit and has not"));
  EXPECT_THAT(processes.started, ElementsAre(Words{"nautilus", "--quit"}));
}

// RunningHosts, on a fake /proc.

class RunningHostsTest : public testing::Test {
 protected:
  RunningHostsTest() { std::ofstream(library()) << "code"; }

  std::string library() const { return folder.path("finder_bundle.so"); }
  std::string process(pid_t number) const {
    const std::string made = folder.path("proc/" + std::to_string(number));
    fs::create_directories(made);
    return made;
  }
  void addProcess(pid_t number, const std::string& program, const std::string& maps = "",
                  const std::string& bus = "unix:path=/ours") const {
    fs::create_symlink(program, process(number) + "/exe");
    std::ofstream(process(number) + "/cmdline") << program << '\0' << "--desktop" << '\0';
    std::ofstream(process(number) + "/environ")
        << "A=b" << '\0' << "DBUS_SESSION_BUS_ADDRESS=" << bus << '\0';
    std::ofstream(process(number) + "/maps") << maps;
  }
  static std::string bundleLine(std::uint64_t file, const std::string& mark = "") {
    return "7f00-7f10 r-xp 00000000 08:01 " + std::to_string(file) +
           " /usr/lib/wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Linux/"
           "finder_bundle.so" +
           mark + "\n";
  }
  std::uint64_t installedFile() const {
    struct stat facts {};
    ::stat(library().c_str(), &facts);
    return facts.st_ino;
  }
  /// Adds the mapping of a record, and its content in the memory of the process.
  void addRecord(pid_t number, const SharedRecord& record) const {
    std::ofstream(process(number) + "/maps", std::ios::app)
        << "1000-2000 rw-s 00000000 00:01 9 /dev/shm/finder.shared (deleted)\n";
    std::ofstream memory(process(number) + "/mem", std::ios::binary);
    memory.seekp(0x1000);
    memory.write(reinterpret_cast<const char*>(&record), sizeof record);
  }
  std::vector<RunningHost> all() const {
    return RunningHosts(folder.path("proc"), library(), kInstalled, "unix:path=/ours").all();
  }

  platform::TemporaryFolder folder;
};

TEST_F(RunningHostsTest, OnlySupportedFileManagersAreFound) {
  addProcess(12, "/usr/bin/nautilus");
  addProcess(3, "/usr/bin/pcmanfm-qt");
  addProcess(4, "/usr/bin/bash");
  fs::create_directories(folder.path("proc/self"));
  const auto hosts = all();
  ASSERT_EQ(hosts.size(), 2U);
  EXPECT_EQ(hosts[0].process, 3);
  EXPECT_EQ(hosts[0].host->name, "pcmanfm-qt-desktop");
  EXPECT_THAT(hosts[0].command, ElementsAre("/usr/bin/pcmanfm-qt", "--desktop"));
  EXPECT_EQ(hosts[1].host->name, "nautilus");
  EXPECT_EQ(hosts[1].holding, Holding::Nothing);
}

TEST_F(RunningHostsTest, AFileManagerOfAnotherSessionIsNotFound) {
  addProcess(5, "/usr/bin/nautilus", "", "unix:path=/another");
  EXPECT_THAT(all(), IsEmpty());
}

TEST_F(RunningHostsTest, TheRecordInAHostsMemoryContainsItsVersion) {
  addProcess(5, "/usr/bin/nautilus", bundleLine(installedFile()));
  addRecord(5, {1, 9, 0, 5});
  const auto hosts = all();
  ASSERT_EQ(hosts.size(), 1U);
  EXPECT_EQ(hosts[0].version, (BundleVersion{1, 9, 0}));
  EXPECT_EQ(hosts[0].holding, Holding::Another);
}

TEST_F(RunningHostsTest, ARecordOfTheInstalledVersionIsTheInstalledVersion) {
  addProcess(5, "/usr/bin/nautilus", bundleLine(1, " (deleted)"));
  addRecord(5, {2, 0, 1, 5});
  EXPECT_EQ(all().front().holding, Holding::Installed);
}

TEST_F(RunningHostsTest, ARecordOfAnotherProcessIsIgnored) {
  addProcess(5, "/usr/bin/nautilus", bundleLine(installedFile()));
  addRecord(5, {1, 9, 0, 77});
  EXPECT_EQ(all().front().version, kInstalled);
}

TEST_F(RunningHostsTest, WithoutARecordTheInstalledFileHasTheInstalledVersion) {
  addProcess(5, "/usr/bin/nautilus", bundleLine(installedFile()));
  EXPECT_EQ(all().front().holding, Holding::Installed);
  EXPECT_EQ(all().front().version, kInstalled);
}

TEST_F(RunningHostsTest, WithoutARecordAReplacedFileHasAnotherVersion) {
  addProcess(5, "/usr/bin/nautilus", bundleLine(installedFile(), " (deleted)"));
  EXPECT_EQ(all().front().holding, Holding::Another);
  EXPECT_EQ(all().front().version, std::nullopt);
}

TEST_F(RunningHostsTest, AHostWhoseExecutableWasReplacedIsFound) {
  addProcess(5, "/usr/bin/nautilus (deleted)");
  EXPECT_EQ(all().size(), 1U);
}

}  // namespace
}  // namespace wevora::loader
