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
  if (options_.loader.empty())
    startFileManager({"pcmanfm-qt", location}, environment());
  else
    startFileManager({options_.loader, "pcmanfm-qt", location}, environment());
  waitForItems(items, 0);
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
