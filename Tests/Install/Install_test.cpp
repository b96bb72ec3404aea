// The result of "cmake --install" with a DESTDIR; the build folder is hidden by a mount.

#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Base/Version.h"
#include "Platform/PropertyLists/PropertyLists.h"
#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Mounts/InMountNamespace.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::PropertyLists;
using testing_host::runToCompletion;

using Paths = std::set<std::string>;

const std::string kPrefix = WEVORA_INSTALL_PREFIX;
const std::string kPlugin = kPrefix + "/lib/wevora/FinderPlugin";
const std::string kContents = kPlugin + "/Bundle/finder_bundle.bundle/Contents";
const std::string kBundleLibrary = kContents + "/Linux/finder_bundle.so";
const std::string kNautilusLibrary = kPlugin + "/Hosts/nautilus.so";
const std::string kQtLibrary = kPlugin + "/Hosts/pcmanfm-qt.so";
const std::string kQtPlugin = kPlugin + "/Hosts/qt5/generic/wevora-pcmanfm-qt.so";
const std::string kModule = WEVORA_NAUTILUS_EXTENSIONS "/wevora-nautilus.so";
const std::string kTemplate = "/etc/xdg/Wevora/wevora-settings.plist";

/// All installed files below the prefix.
const Paths kPrograms = {
    kPrefix + "/bin/wevora-agent-sim", kPrefix + "/bin/wevora-badges",
    kPrefix + "/bin/wevora-files",     kPrefix + "/bin/wevora-loader",
    kPrefix + "/bin/wevora-status",    kPrefix + "/libexec/wevora/chflags",
};
const Paths kLibraries = {
    kPrefix + "/lib/wevora/libwevora_graphics.so",
    kPrefix + "/lib/wevora/libwevora_runtime.so",
    kBundleLibrary,
    kNautilusLibrary,
    kQtLibrary,
    kQtPlugin,
};
const Paths kDesktopEntries = {
    kPrefix + "/share/applications/wevora-pcmanfm-qt.desktop",
    kPrefix + "/share/applications/wevora-pcmanfm-qt-desktop.desktop",
    kPrefix + "/share/wevora/autostart/wevora-lxqt-desktop.desktop",
};
const Paths kData = {
    kContents + "/Info.plist",        kContents + "/Resources/backup.icns",
    kContents + "/Resources/ok.icns", kContents + "/Resources/sidebar.tiff",
    kContents + "/Resources/w.icns",
};
/// Libraries that programs other than the supported hosts load too.
const Paths kInOtherPrograms = {kModule, kQtPlugin};
/// All installed files outside the prefix.
const Paths kSystem = {kModule, kTemplate};

Paths together(std::initializer_list<Paths> sets) {
  Paths all;
  for (const auto& set : sets) all.insert(set.begin(), set.end());
  return all;
}

class InstallTest : public testing::Test {
 protected:
  struct Ended {
    int status;
    std::string errors;
  };
  Ended install(const std::vector<std::string>& options = {}) const {
    return installInto(stage.path("root"), options);
  }
  static Ended installInto(const std::optional<std::string>& destination,
                           const std::vector<std::string>& options) {
    std::vector<std::string> command = {WEVORA_CMAKE, "--install", WEVORA_BUILD};
    command.insert(command.end(), options.begin(), options.end());
    const auto outcome = runToCompletion(command, {{"DESTDIR", destination}});
    // Undo the line wrapping of CMake messages.
    std::string errors;
    std::istringstream words(outcome.errors);
    for (std::string word; words >> word;) errors += word + " ";
    return {outcome.status, errors};
  }
  void installAll() const {
    const auto ended = install();
    ASSERT_EQ(ended.status, 0) << ended.errors;
    // Hide the build folder: nothing may be loaded from it.
    ASSERT_EQ(::mount("tmpfs", WEVORA_BUILD, "tmpfs", 0, nullptr), 0);
  }
  /// The staged copy of an installed path.
  std::string staged(const std::string& path) const { return stage.path("root") + path; }
  /// The staged files, by their installed paths.
  Paths installed() const {
    Paths found;
    if (!fs::exists(staged("/"))) return found;
    for (const auto& entry : fs::recursive_directory_iterator(staged("/")))
      if (!entry.is_directory() || entry.is_symlink() || fs::is_empty(entry))
        found.insert("/" + fs::relative(entry.path(), staged("/")).string());
    return found;
  }
  /// The output lines of a command.
  std::vector<std::string> linesOf(const std::vector<std::string>& command) const {
    const auto outcome = runToCompletion(command);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    std::vector<std::string> lines;
    std::istringstream text(outcome.output);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
  /// The RUNPATH of a program or library.
  std::vector<std::string> runPathOf(const std::string& file) const {
    constexpr std::string_view kOrigin = "$ORIGIN";
    std::vector<std::string> folders;
    for (const auto& line : linesOf({"readelf", "-d", file})) {
      if (line.find("RUNPATH") == std::string::npos && line.find("RPATH") == std::string::npos)
        continue;
      const auto begin = line.find('[') + 1;
      std::istringstream all(line.substr(begin, line.find(']') - begin));
      for (std::string folder; std::getline(all, folder, ':');) {
        if (folder.starts_with(kOrigin))
          folder.replace(0, kOrigin.size(), fs::path(file).parent_path().string());
        folders.push_back(fs::weakly_canonical(folder).string());
      }
    }
    return folders;
  }
  bool isInBuild(const std::string& line) const {
    return line.find(WEVORA_BUILD "/") != std::string::npos;
  }

  platform::TemporaryFolder stage;
};

TEST_F(InstallTest, AllFilesAreInstalledAndNothingElse) {
  installAll();
  EXPECT_EQ(installed(), together({kPrograms, kLibraries, kData, kDesktopEntries, kSystem}));
}

TEST_F(InstallTest, EachBinaryFindsItsInstalledLibraries) {
  installAll();
  for (const auto& path : together({kPrograms, kLibraries, {kModule}})) {
    for (const auto& line : linesOf({"ldd", staged(path)})) {
      EXPECT_EQ(line.find("not found"), std::string::npos) << path << line;
      EXPECT_FALSE(isInBuild(line)) << path << line;
      if (line.find("libwevora_") == std::string::npos) continue;
      EXPECT_NE(line.find(stage.path()), std::string::npos) << path << line;
    }
  }
}

TEST_F(InstallTest, NoBinaryHasAnotherRunPath) {
  installAll();
  for (const auto& path : together({kPrograms, kLibraries, {kModule}}))
    for (const auto& folder : runPathOf(staged(path)))
      EXPECT_EQ(folder, staged(kPrefix + "/lib/wevora")) << path;
  for (const auto& path : kInOtherPrograms) EXPECT_TRUE(runPathOf(staged(path)).empty()) << path;
}

TEST_F(InstallTest, LibrariesThatOtherProgramsLoadHaveNoWevoraDependencies) {
  installAll();
  for (const auto& path : kInOtherPrograms)
    for (const auto& line : linesOf({"ldd", staged(path)}))
      EXPECT_EQ(line.find("libwevora_"), std::string::npos) << path << line;
}

TEST_F(InstallTest, EachProgramPrintsItsVersion) {
  installAll();
  for (const auto& path : kPrograms) {
    const auto outcome = runToCompletion({staged(path), "--version"});
    EXPECT_EQ(outcome.status, 0) << path << outcome.errors;
    EXPECT_NE(outcome.output.find(platform::productVersion()), std::string::npos)
        << path << outcome.output;
  }
}

TEST_F(InstallTest, TheBundleCanBeMappedAndOffersWhatItsLoadersCall) {
  installAll();
  void* const bundle = ::dlopen(staged(kBundleLibrary).c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(bundle, nullptr) << ::dlerror();
  for (const char* name : {"setVersion", "shouldKillFinder", "wevora_bundle_load"})
    EXPECT_NE(::dlsym(bundle, name), nullptr) << name;
}

TEST_F(InstallTest, TheHostsPartsOfferWhatTheirCallersCall) {
  installAll();
  for (const auto& [library, entry] : {std::pair(kNautilusLibrary, "wevora_nautilus_start"),
                                       std::pair(kQtLibrary, "wevora_pcmanfmqt_start")}) {
    void* const host = ::dlopen(staged(library).c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(host, nullptr) << ::dlerror();
    EXPECT_NE(::dlsym(host, entry), nullptr) << entry;
  }
  void* const plugin = ::dlopen(staged(kQtPlugin).c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(plugin, nullptr) << ::dlerror();
  EXPECT_NE(::dlsym(plugin, "qt_plugin_instance"), nullptr);
  void* const module = ::dlopen(staged(kModule).c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << ::dlerror();
  for (const char* name :
       {"nautilus_module_initialize", "nautilus_module_list_types", "nautilus_module_shutdown"})
    EXPECT_NE(::dlsym(module, name), nullptr) << name;
}

TEST_F(InstallTest, HostsAndBundleShareTheInstalledRuntime) {
  installAll();
  for (const auto& path : {kBundleLibrary, kNautilusLibrary, kQtLibrary})
    ASSERT_NE(::dlopen(staged(path).c_str(), RTLD_NOW | RTLD_LOCAL), nullptr) << ::dlerror();
  Paths mapped;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);)
    if (const auto at = line.find('/');
        at != std::string::npos && line.find("/libwevora_") != std::string::npos)
      mapped.insert(line.substr(at));
  EXPECT_EQ(mapped, (Paths{staged(kPrefix + "/lib/wevora/libwevora_graphics.so"),
                           staged(kPrefix + "/lib/wevora/libwevora_runtime.so")}));
}

TEST_F(InstallTest, TheDesktopEntriesStartTheInstalledLoader) {
  installAll();
  for (const auto& path : kDesktopEntries) {
    std::ifstream entry(staged(path));
    std::set<std::string> commands;
    for (std::string line; std::getline(entry, line);)
      if (line.starts_with("Exec=")) commands.insert(line.substr(0, line.find(' ')));
    EXPECT_EQ(commands, (std::set<std::string>{"Exec=" + kPrefix + "/bin/wevora-loader"})) << path;
  }
}

TEST_F(InstallTest, TheBundleContainsItsVersion) {
  installAll();
  const auto list = PropertyLists::read(staged(kContents + "/Info.plist"));
  ASSERT_TRUE(list && list->as<Dictionary>() != nullptr);
  const auto* version = platform::valueAs<std::string>(*list->as<Dictionary>(), "kFinderVersion");
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(*version, platform::productVersion());
}

TEST_F(InstallTest, TheSettingsTemplateCanBeRead) {
  installAll();
  EXPECT_TRUE(PropertyLists::read(staged(kTemplate)));
}

// The two components.

TEST_F(InstallTest, TheComponentPrefixInstallsOnlyFilesBelowThePrefix) {
  const auto ended = install({"--component", "prefix"});
  ASSERT_EQ(ended.status, 0) << ended.errors;
  EXPECT_EQ(installed(), together({kPrograms, kLibraries, kData, kDesktopEntries}));
}

TEST_F(InstallTest, TheComponentSystemInstallsOnlyFilesOutsideThePrefix) {
  const auto ended = install({"--component", "system"});
  ASSERT_EQ(ended.status, 0) << ended.errors;
  EXPECT_EQ(installed(), kSystem);
}

// Installs that fail.

TEST_F(InstallTest, AnotherPrefixIsRejectedBeforeAnythingIsInstalled) {
  const auto ended = install({"--prefix", "/home/someone/.local"});
  EXPECT_NE(ended.status, 0);
  EXPECT_NE(ended.errors.find("-DCMAKE_INSTALL_PREFIX=/home/someone/.local"), std::string::npos)
      << ended.errors;
  EXPECT_EQ(installed(), Paths{});
}

TEST_F(InstallTest, TheBuildsOwnPrefixIsAccepted) {
  const auto ended = install({"--prefix", kPrefix + "/"});
  ASSERT_EQ(ended.status, 0) << ended.errors;
  EXPECT_EQ(installed(), together({kPrograms, kLibraries, kData, kDesktopEntries, kSystem}));
}

TEST_F(InstallTest, UnwritableSystemFoldersAreReportedBeforeAnythingIsInstalled) {
  fs::path modules = WEVORA_NAUTILUS_EXTENSIONS;
  while (!fs::is_directory(modules)) modules = modules.parent_path();
  for (const fs::path& folder : {modules, fs::path("/etc/xdg")})
    ASSERT_EQ(::mount("tmpfs", folder.c_str(), "tmpfs", MS_RDONLY, nullptr), 0) << folder;
  // DESTDIR is unset: the read-only mounts keep the system unchanged.
  const auto ended = installInto(std::nullopt, {"--component", "system"});
  EXPECT_NE(ended.status, 0);
  EXPECT_NE(ended.errors.find("You may not write " WEVORA_NAUTILUS_EXTENSIONS), std::string::npos)
      << ended.errors;
  EXPECT_NE(ended.errors.find("--component prefix"), std::string::npos) << ended.errors;
  EXPECT_TRUE(fs::is_empty(modules));
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
