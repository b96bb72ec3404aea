#include "Tests/HostSession/HostSession.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <pwd.h>
#include <stdexcept>
#include <sys/mount.h>
#include <unistd.h>

namespace wevora::testing_host {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kTimeout{60};  // long: the machine may be busy

void require(bool done, const std::string& what) {
  if (!done) throw std::runtime_error("the session has no " + what);
}

std::string homeOfThisUser() {
  const passwd* row = ::getpwuid(::getuid());
  require(row != nullptr, "user");
  return row->pw_dir;
}

void installSettings() {
  mountEmpty("/etc/xdg");
  fs::create_directories("/etc/xdg/Wevora");
  fs::copy_file(WEVORA_TEMPLATE, "/etc/xdg/Wevora/wevora-settings.plist");
}

/// The leaks of the file manager itself are not reported.
std::string sanitizerOptions() {
  const char* given = std::getenv("ASAN_OPTIONS");
  return std::string(given == nullptr ? "" : given) + ":detect_leaks=0";
}

/// Saves the picture for inspection; returns the file's path.
std::string savePicture(const platform::BitmapRef& picture) {
  std::string file = testing::TempDir() + "wevora-host.ppm";
  if (!picture) return "nothing";
  std::ofstream out(file, std::ios::binary);
  out << "P6 " << picture->width() << " " << picture->height() << " 255\n";
  for (const std::uint32_t pixel : picture->pixels())
    for (const unsigned shift : {16U, 8U, 0U}) out.put(static_cast<char>((pixel >> shift) & 255U));
  return file;
}

}  // namespace

void installBuiltLibraries() {
  const std::string prefix = WEVORA_INSTALL_PREFIX;
  fs::path there = fs::path(prefix) / "lib";
  while (!fs::is_directory(there)) there = there.parent_path();
  mountEmpty(there.string());
  const std::string place = prefix + "/lib/wevora";
  fs::create_directories(place);
  require(::mount(WEVORA_BUILT_LIBRARIES, place.c_str(), nullptr, MS_BIND, nullptr) == 0, place);
}

void mountEmpty(const std::string& folder) {
  require(::mount("tmpfs", folder.c_str(), "tmpfs", 0, nullptr) == 0, folder);
}

void bindFile(const std::string& file, const std::string& over) {
  require(::mount(file.c_str(), over.c_str(), nullptr, MS_BIND, nullptr) == 0, over);
}

std::string uriOf(const std::string& path) {
  char* uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
  std::string text = uri == nullptr ? "" : uri;
  g_free(uri);
  return text;
}

HostSession::HostSession(const std::string& screenSize)
    : home_(homeOfThisUser()), badges_(WEVORA_BUILT_LIBRARIES WEVORA_RESOURCES) {
  mountEmpty(home_);
  installBuiltLibraries();
  installSettings();
  display_ = std::make_unique<ChildProcess>(std::vector<std::string>{
      "Xvfb", "-displayfd", "1", "-screen", "0", screenSize + "x24", "-nolisten", "tcp"});
  require(display_->waitForOutput("\n"), "display");
  displayName_ = ":" + display_->output();
  displayName_.erase(displayName_.find('\n'));
  screen_ = std::make_unique<Screen>(bus_.address());
}

// The file manager must behave the same on a bare machine and on one with a whole desktop. The
// session bus starts no services, so there is no file indexer, key ring, portal, accessibility bus
// or dconf; the variables below keep the libraries from searching for them in other ways, and from
// reading the settings of the person who runs the tests.
Environment HostSession::environment(const Environment& more) const {
  const std::string noBus = "unix:path=" + bus_.runtimeFolder() + "/no-bus";
  Environment all = {{"HOME", home_},
                     {"DISPLAY", displayName_},
                     {"WAYLAND_DISPLAY", std::nullopt},
                     {"XDG_CONFIG_HOME", home_ + "/.config"},
                     {"XDG_CACHE_HOME", home_ + "/.cache"},
                     {"XDG_DATA_HOME", home_ + "/.local/share"},
                     {"XDG_STATE_HOME", home_ + "/.local/state"},
                     {"XDG_CONFIG_DIRS", "/etc/xdg"},
                     {"XDG_DATA_DIRS", "/usr/local/share:/usr/share"},
                     {"XDG_CURRENT_DESKTOP", std::nullopt},
                     {"DESKTOP_SESSION", std::nullopt},
                     {"SESSION_MANAGER", std::nullopt},
                     {"DBUS_SYSTEM_BUS_ADDRESS", noBus},
                     {"AT_SPI_BUS_ADDRESS", noBus},
                     {"GIO_USE_VOLUME_MONITOR", "unix"},
                     {"GSETTINGS_BACKEND", "memory"},
                     {"GTK_THEME", std::nullopt},
                     {"GTK_USE_PORTAL", std::nullopt},
                     {"LC_ALL", "C.UTF-8"},
                     {"LD_PRELOAD", preloaded()},
                     {"ASAN_OPTIONS", sanitizerOptions()}};
  if (virtualPlaces_)
    all["GIO_MODULE_DIR"] = std::nullopt;  // the session bus hides GVfs's modules
  else
    all["GIO_USE_VFS"] = "local";
  for (const auto& [name, value] : more) all.insert_or_assign(name, value);
  return all;
}

std::string HostSession::preloadedWith(const std::string& library) {
  const char* const sanitizer = WEVORA_PRELOAD;
  return *sanitizer == '\0' ? library : std::string(sanitizer) + ":" + library;
}

std::string HostSession::preloaded() {
  return preloadedWith(WEVORA_SHIFTED_CLOCK);
}

void HostSession::writeAtHome(const std::string& file, const std::string& text) const {
  const fs::path path = fs::path(home_) / file;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::app) << text;
}

void HostSession::addBookmark(const std::string& folder, const std::string& name) const {
  writeAtHome(".config/gtk-3.0/bookmarks", uriOf(folder) + " " + name + "\n");
}

void HostSession::hideBundle() const {
  mountEmpty(std::string(WEVORA_INSTALL_PREFIX) + "/lib/wevora/FinderPlugin/Bundle");
}

void HostSession::addToTrash(const std::string& name) const {
  const std::string trash = ".local/share/Trash";
  writeAtHome(trash + "/files/" + name, "x");
  writeAtHome(trash + "/info/" + name + ".trashinfo",
              "[Trash Info]\nPath=" + home_ + "/" + name + "\nDeletionDate=2020-01-01T00:00:00\n");
}

void HostSession::addToRecent(const std::string& file) const {
  constexpr const char* when = "\"2020-01-01T00:00:00Z\"";
  writeAtHome(
      ".local/share/recently-used.xbel",
      std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xbel version=\"1.0\" "
                  "xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\" "
                  "xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\">"
                  "<bookmark href=\"") +
          uriOf(file) + "\" added=" + when + " modified=" + when + " visited=" + when +
          "><info><metadata owner=\"http://freedesktop.org\"><mime:mime-type "
          "type=\"text/plain\"/><bookmark:applications><bookmark:application name=\"test\" "
          "exec=\"&apos;test %u&apos;\" modified=" +
          when + " count=\"1\"/></bookmark:applications></metadata></info></bookmark></xbel>\n");
}

void HostSession::provideVirtualPlaces() {
  constexpr const char* kDaemon = "/usr/libexec/gvfsd";
  if (!fs::exists(kDaemon)) return;
  virtualPlaces_ = true;
  constexpr const char* kMonitors = "/usr/share/gvfs/remote-volume-monitors";  // of other services
  if (fs::exists(kMonitors)) mountEmpty(kMonitors);
  startAnother({kDaemon, "--no-fuse"}, {});
  const auto waited = runToCompletion(
      {"gdbus", "wait", "--session", "--timeout", "60", "org.gtk.vfs.Daemon"}, environment({}));
  require(waited.status == 0, "virtual places: " + waited.errors);
}

void HostSession::startFileManager(const std::vector<std::string>& command,
                                   const Environment& more) {
  fileManager_ = std::make_unique<ChildProcess>(command, environment(more));
}

void HostSession::startAnother(const std::vector<std::string>& command, const Environment& more) {
  others_.push_back(std::make_unique<ChildProcess>(command, environment(more)));
}

void HostSession::waitForItems(std::size_t items, unsigned window) const {
  if (until([&] {
        return screen_->windows().size() > window && screen_->cells(window).size() >= items;
      }))
    return;
  std::string message =
      "window " + std::to_string(window) + " does not show " + std::to_string(items) + " items:";
  for (const auto& title : screen_->windows()) message += " [" + title + "]";
  for (const auto& cell : screen_->cells(window)) message += " " + cell.name;
  for (const auto& other : others_) message += "\n" + other->errors();
  throw std::runtime_error(message + "\n" + fileManager_->errors());
}

bool HostSession::opensWindows(std::size_t windows, std::chrono::seconds allowed) const {
  const auto end = std::chrono::steady_clock::now() + allowed;
  until([&] {
    return screen_->windows().size() >= windows || std::chrono::steady_clock::now() > end;
  });
  return screen_->windows().size() >= windows;
}

bool HostSession::until(const std::function<bool()>& holds, unsigned window) const {
  const auto end = std::chrono::steady_clock::now() + kTimeout;
  while (std::chrono::steady_clock::now() < end) {
    if (holds()) return true;
    if (fileManager_ && fileManager_->status()) return false;
    screen_->nextFrame(window);
  }
  return false;
}

bool HostSession::untilOutside(const std::function<bool()>& holds) {
  const auto end = std::chrono::steady_clock::now() + kTimeout;
  while (std::chrono::steady_clock::now() < end)
    if (holds()) return true;
  return false;
}

void HostSession::closeOlderWindows() const {
  const std::size_t open = screen_->windows().size();
  for (std::size_t i = 1; i < open; ++i) screen_->close(0);
  require(until([&] { return screen_->windows().size() == 1; }), "single window");
}

void HostSession::ageStates() const {
  constexpr double kSeconds = 5;  // a state is fresh for four
  require(screen_->advanceClock(kSeconds), "clock");
}

std::string HostSession::word(const std::string& path, unsigned window) const {
  const auto capture = screen_->capture(window);
  const auto cell = std::ranges::find(capture.cells, uriOf(path), &Place::name);
  if (cell == capture.cells.end() || !capture.picture) return "not shown";
  return badges_.wordAt(*capture.picture, *cell, capture.scale);
}

testing::AssertionResult HostSession::shows(const std::string& path, const std::string& word,
                                            unsigned window) const {
  std::string shown;
  if (until([&] { return (shown = this->word(path, window)) == word; }, window))
    return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << path << " shows \"" << shown << "\", see " << savePicture(screen_->picture(window));
}

platform::BitmapRef HostSession::steadyPicture(unsigned window) const {
  using Clock = std::chrono::steady_clock;
  // Animations are off; this is longer than what a file manager puts off by a timer.
  constexpr std::chrono::milliseconds kStill{700};
  platform::BitmapRef latest = screen_->picture(window);
  auto since = Clock::now();
  const bool steady = until(
      [&] {
        const auto next = screen_->picture(window);
        if (!latest || !next) return false;
        if (!std::ranges::equal(latest->pixels(), next->pixels())) since = Clock::now();
        latest = next;
        return Clock::now() - since >= kStill;
      },
      window);
  return steady ? latest : nullptr;
}

}  // namespace wevora::testing_host
