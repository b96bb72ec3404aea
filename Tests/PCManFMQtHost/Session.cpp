#include "Tests/PCManFMQtHost/Session.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "Platform/Base/Version.h"

namespace wevora::testing_host {
namespace {

const char* nameOf(QtSession::View view) {
  switch (view) {
    case QtSession::View::Compact:
      return "compact";
    case QtSession::View::Detailed:
      return "detailed";
    case QtSession::View::Thumbnail:
      return "thumbnail";
    case QtSession::View::Icon:
      break;
  }
  return "icon";
}

}  // namespace

QtSession::QtSession(const Options& options) : HostSession("2400x1000"), options_(options) {
  writeAtHome(".config/pcmanfm-qt/default/settings.conf",
              std::string("[System]\nFallbackIconThemeName=Papirus\n"
                          "[Desktop]\nBgColor=#304860\nWallpaperMode=none\n"
                          "DesktopShortcuts=@Invalid()\nDesktopCellMargins=@Size(3 1)\n"
                          "[FolderView]\nBigIconSize=48\nSmallIconSize=24\n"
                          "FolderViewCellMargins=@Size(3 3)\nShowThumbnails=false\nMode=") +
                  nameOf(options.view) +
                  "\n[Window]\nFixedWidth=780\nFixedHeight=960\nRememberWindowSize=false\n");
}

Environment QtSession::environment() const {
  return {{"QT_PLUGIN_PATH", std::string(WEVORA_QT_PLUGINS) + ":" + WEVORA_QT_PROBE},
          {"QT_QPA_GENERIC_PLUGINS",
           options_.plugin == Plugin::Present ? "wevora,wevora-probe" : "wevora-probe"},
          {"QT_SCALE_FACTOR", std::to_string(options_.scale)},
          {"QT_LOGGING_RULES", "*.debug=false"},
          {"QT_QPA_PLATFORM", "xcb"},
          {"QT_QPA_PLATFORMTHEME", std::nullopt}};
}

void QtSession::open(const std::string& location, std::size_t items) {
  if (fileManagerRuns()) {
    openAnother(location, 0);
    closeOlderWindows();
  } else {
    const std::string program = "pcmanfm-qt";
    if (options_.loader.empty())
      startFileManager({program, location}, environment());
    else
      startFileManager({options_.loader, program, location}, environment());
    waitForWindow(0, location);
  }
  waitForItems(items, 0);
}

// Under load the host sometimes opens no window: it stays in a nested event loop of its file
// launcher, with none of our code on the stack. Its bus service still works, so the request is
// repeated.
void QtSession::waitForWindow(std::size_t window, const std::string& location) {
  constexpr std::chrono::seconds kLongEnough{15};
  constexpr int kAttempts = 3;
  for (int i = 0; i < kAttempts && !opensWindows(window + 1, kLongEnough); ++i)
    startAnother({"pcmanfm-qt", "--new-window", location}, environment());
}

void QtSession::installVersion(const std::string& version) const {
  const std::string contents = std::string(WEVORA_INSTALL_PREFIX) +
                               "/lib/wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents";
  std::ifstream before(contents + "/Info.plist");
  std::string list((std::istreambuf_iterator<char>(before)), {});
  const auto at = list.find(platform::productVersion());
  if (at == std::string::npos) throw std::runtime_error("the bundle has no version");
  list.replace(at, platform::productVersion().size(), version);
  writeAtHome("Info.plist", list);
  bindFile(home() + "/Info.plist", contents + "/Info.plist");
}

Outcome QtSession::runWithEnvironment(const std::vector<std::string>& command) const {
  ChildProcess process(command, HostSession::environment(environment()));
  const auto status = process.waitForExit(std::chrono::seconds(60));
  return {.status = status.value_or(-1), .output = process.output(), .errors = process.errors()};
}

void QtSession::openAnother(const std::string& location, std::size_t items) {
  const auto before = screen().windows().size();
  startAnother({"pcmanfm-qt", "--new-window", location}, environment());
  waitForWindow(before, location);
  waitForItems(items, static_cast<unsigned>(before));
}

void QtSession::openDesktop(const std::string& folder, std::size_t items) {
  writeAtHome(".config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"" + folder + "\"\n");
  if (options_.loader.empty())
    startFileManager({"pcmanfm-qt", "--desktop"}, environment());
  else
    startFileManager({options_.loader, "pcmanfm-qt-desktop"}, environment());
  waitForItems(items, 0);
}

}  // namespace wevora::testing_host
