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

#include "Tests/ServiceThread/ServiceThread.h"

namespace wevora::testing_host {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kPatience{60};

void must(bool done, const std::string& what) {
  if (!done) throw std::runtime_error("the session has no " + what);
}

std::string homeOfThisUser() {
  const passwd* row = ::getpwuid(::getuid());
  must(row != nullptr, "user");
  return row->pw_dir;
}

void installSettings() {
  mountEmpty("/etc/xdg");
  fs::create_directories("/etc/xdg/Wevora");
  fs::copy_file(WEVORA_TEMPLATE, "/etc/xdg/Wevora/wevora-settings.plist");
}

/// The host's own memory is not ours to count.
std::string sanitizerOptions() {
  const char* given = std::getenv("ASAN_OPTIONS");
  return std::string(given == nullptr ? "" : given) + ":detect_leaks=0";
}

/// For a person to look at; answers the file.
std::string keepPicture(const platform::BitmapRef& picture) {
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
  must(::mount(WEVORA_BUILT_LIBRARIES, place.c_str(), nullptr, MS_BIND, nullptr) == 0, place);
}

void mountEmpty(const std::string& folder) {
  must(::mount("tmpfs", folder.c_str(), "tmpfs", 0, nullptr) == 0, folder);
}

void bindFile(const std::string& file, const std::string& over) {
  must(::mount(file.c_str(), over.c_str(), nullptr, MS_BIND, nullptr) == 0, over);
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
  must(display_->waitForOutput("\n"), "display");
  displayName_ = ":" + display_->output();
  displayName_.erase(displayName_.find('\n'));
  screen_ = std::make_unique<Screen>(bus_.address());
}

Environment HostSession::environment(const Environment& more) const {
  Environment all = {{"HOME", home_},
                     {"DISPLAY", displayName_},
                     {"WAYLAND_DISPLAY", std::nullopt},
                     {"XDG_CONFIG_HOME", home_ + "/.config"},
                     {"XDG_CACHE_HOME", home_ + "/.cache"},
                     {"XDG_DATA_HOME", home_ + "/.local/share"},
                     {"GIO_USE_VOLUME_MONITOR", "unix"},
                     {"LC_ALL", "C.UTF-8"},
                     {"LD_PRELOAD", preloaded()},
                     {"ASAN_OPTIONS", sanitizerOptions()}};
  for (const auto& [name, value] : more) all.insert_or_assign(name, value);
  return all;
}

std::string HostSession::preloaded() {
  return WEVORA_PRELOAD;
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
  throw std::runtime_error("the items are not shown: " + fileManager_->errors());
}

bool HostSession::until(const std::function<bool()>& holds, unsigned window) const {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (std::chrono::steady_clock::now() < end) {
    if (holds()) return true;
    if (fileManager_ && fileManager_->status()) return false;
    screen_->nextFrame(window);
  }
  return false;
}

bool HostSession::untilOutside(const std::function<bool()>& holds) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (std::chrono::steady_clock::now() < end)
    if (holds()) return true;
  return false;
}

std::string HostSession::word(const std::string& path, unsigned window) const {
  const auto look = screen_->look(window);
  const auto cell = std::ranges::find(look.cells, uriOf(path), &Place::name);
  if (cell == look.cells.end() || !look.picture) return "not shown";
  return badges_.wordAt(*look.picture, *cell, look.scale);
}

testing::AssertionResult HostSession::shows(const std::string& path, const std::string& word,
                                            unsigned window) const {
  std::string shown;
  if (until([&] { return (shown = this->word(path, window)) == word; }, window))
    return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << path << " shows \"" << shown << "\", see " << keepPicture(screen_->picture(window));
}

platform::BitmapRef HostSession::steadyPicture(unsigned window) const {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::seconds kStill{2};  // longer than anything fades
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
