#include "Tests/NautilusHost/Session.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <pwd.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Hosts/Nautilus/GObjectPtr.h"
#include "Tests/ServiceThread/ServiceThread.h"

namespace wevora::testing_host {
namespace {

namespace fs = std::filesystem;
using nautilus::GText;

constexpr std::chrono::seconds kPatience{60};
constexpr const char* kSettings = "/.config/glib-2.0/settings/keyfile";

void must(bool done, const std::string& what) {
  if (!done) throw std::runtime_error("the session has no " + what);
}

void mountEmpty(const std::string& folder) {
  must(::mount("tmpfs", folder.c_str(), "tmpfs", 0, nullptr) == 0, folder);
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

void installModules(Session::Module module) {
  const fs::path extensions = WEVORA_NAUTILUS_EXTENSIONS;
  mountEmpty(extensions.string());
  fs::copy_file(WEVORA_PROBE, extensions / "wevora-probe.so");
  if (module == Session::Module::Present)
    fs::copy_file(WEVORA_MODULE, extensions / "wevora-nautilus.so");
}

void write(const fs::path& file, const std::string& text) {
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::app) << text;
}

const char* nameOf(Session::View view) {
  return view == Session::View::Icons ? "icon-view" : "list-view";
}

void runWell(const std::vector<std::string>& command) {
  ChildProcess process(command);
  if (process.waitForEnd(kPatience) != 0)
    throw std::runtime_error(command.front() + " " + command.at(1) + ": " + process.errors());
}

/// The host's own memory is not ours to count.
std::string sanitizerOptions() {
  const char* given = std::getenv("ASAN_OPTIONS");
  return std::string(given == nullptr ? "" : given) + ":detect_leaks=0";
}

/// For a person to look at; answers the file.
std::string keepPicture(const platform::BitmapRef& picture) {
  std::string file = testing::TempDir() + "wevora-nautilus.ppm";
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

std::string uriOf(const std::string& path) {
  char* uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
  std::string text = uri == nullptr ? "" : uri;
  g_free(uri);
  return text;
}

void agentTool(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {WEVORA_AGENT_SIM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  runWell(command);
}

void switchBadges(bool on) {
  runWell({WEVORA_BADGES, on ? "on" : "off"});
}

Session::Session(View view, Module module)
    : home_(homeOfThisUser()), badges_(WEVORA_BUILT_LIBRARIES WEVORA_RESOURCES) {
  mountEmpty(home_);
  installBuiltLibraries();
  installSettings();
  installModules(module);
  write(home_ + kSettings,
        std::string("[org/gnome/nautilus/preferences]\ndefault-folder-viewer='") + nameOf(view) +
            "'\nrecursive-search='always'\n");
  setWindowSize(1000, 800);
  display_ = std::make_unique<ChildProcess>(std::vector<std::string>{
      "Xvfb", "-displayfd", "1", "-screen", "0", "2400x1600x24", "-nolisten", "tcp"});
  must(display_->waitForOutput("\n"), "display");
  displayName_ = ":" + display_->output();
  displayName_.erase(displayName_.find('\n'));
  screen_ = std::make_unique<Screen>(bus_.address());
}

Environment Session::environment() const {
  return {{"HOME", home_},
          {"DISPLAY", displayName_},
          {"WAYLAND_DISPLAY", std::nullopt},
          {"XDG_CONFIG_HOME", home_ + "/.config"},
          {"XDG_CACHE_HOME", home_ + "/.cache"},
          {"XDG_DATA_HOME", home_ + "/.local/share"},
          {"GDK_BACKEND", "x11"},
          {"GDK_SCALE", std::to_string(scale_)},
          {"GSK_RENDERER", "cairo"},
          {"GTK_A11Y", "none"},
          {"GSETTINGS_BACKEND", "keyfile"},
          {"GIO_USE_VOLUME_MONITOR", "unix"},
          {"LC_ALL", "C.UTF-8"},
          {"LD_PRELOAD", WEVORA_PRELOAD},
          {"ASAN_OPTIONS", sanitizerOptions()}};
}

void Session::addBookmark(const std::string& folder, const std::string& name) const {
  write(home_ + "/.config/gtk-3.0/bookmarks", uriOf(folder) + " " + name + "\n");
}

void Session::setWindowSize(int width, int height) const {
  write(home_ + kSettings, "[org/gnome/nautilus/window-state]\ninitial-size=(" +
                               std::to_string(width) + ", " + std::to_string(height) + ")\n");
}

void Session::addThumbnail(const std::string& file, int width, int height) const {
  struct stat status {};
  must(::stat(file.c_str(), &status) == 0, file);
  const std::string uri = uriOf(file);
  const GText name(g_compute_checksum_for_string(G_CHECKSUM_MD5, uri.c_str(), -1));
  const fs::path folder = fs::path(home_) / ".cache/thumbnails/large";
  fs::create_directories(folder);
  runWell({"convert", "-size", std::to_string(width) + "x" + std::to_string(height), "xc:white",
           "-set", "Thumb::URI", uri, "-set", "Thumb::MTime", std::to_string(status.st_mtime),
           (folder / (std::string(name.get()) + ".png")).string()});
}

void Session::addToTrash(const std::string& name) const {
  const std::string trash = home_ + "/.local/share/Trash";
  write(trash + "/files/" + name, "x");
  write(trash + "/info/" + name + ".trashinfo",
        "[Trash Info]\nPath=" + home_ + "/" + name + "\nDeletionDate=2020-01-01T00:00:00\n");
}

void Session::addToRecent(const std::string& file) const {
  constexpr const char* when = "\"2020-01-01T00:00:00Z\"";
  write(home_ + "/.local/share/recently-used.xbel",
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

void Session::useSmallIcons() const {
  write(home_ + kSettings, "[org/gnome/nautilus/icon-view]\ndefault-zoom-level='small'\n");
}

void Session::hideShadows() const {
  write(home_ + "/.config/gtk-4.0/gtk.css", ".view picture { filter: none; }\n");
}

void Session::hideBundle() const {
  mountEmpty(std::string(WEVORA_INSTALL_PREFIX) + "/lib/wevora/FinderPlugin/Bundle");
}

void Session::open(const std::string& location, std::size_t items) {
  fileManager_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"nautilus", "--new-window", location}, environment());
  const auto shown = [&] { return screen_->cells().size() >= items; };
  if (!until(shown))
    throw std::runtime_error("nothing is shown of " + location + ": " + fileManager_->errors());
}

void Session::openAnother(const std::string& location, std::size_t items) {
  const auto before = screen_->windows().size();
  others_.push_back(std::make_unique<ChildProcess>(
      std::vector<std::string>{"nautilus", "--new-window", location}, environment()));
  must(until([&] {
         return screen_->windows().size() > before &&
                screen_->cells(static_cast<unsigned>(before)).size() >= items;
       }),
       "second window");
}

bool Session::until(const std::function<bool()>& holds, unsigned window) const {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (std::chrono::steady_clock::now() < end) {
    if (holds()) return true;
    if (fileManager_ && fileManager_->status()) return false;
    screen_->nextFrame(window);
  }
  return false;
}

std::string Session::word(const std::string& path, unsigned window) const {
  const auto look = screen_->look(window);
  const auto cell = std::ranges::find(look.cells, uriOf(path), &Place::name);
  if (cell == look.cells.end() || !look.picture) return "not shown";
  return badges_.wordAt(*look.picture, *cell, look.scale);
}

testing::AssertionResult Session::shows(const std::string& path, const std::string& word,
                                        unsigned window) const {
  std::string shown;
  if (until([&] { return (shown = this->word(path, window)) == word; }, window))
    return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << path << " shows \"" << shown << "\", see " << keepPicture(screen_->picture(window));
}

platform::BitmapRef Session::steadyPicture(unsigned window) const {
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

Agent::Agent(const std::string& account, const std::vector<std::string>& more) {
  std::vector<std::string> command = {WEVORA_AGENT_SIM, "serve", "--account", account};
  command.insert(command.end(), more.begin(), more.end());
  process_ = std::make_unique<ChildProcess>(command);
  must(process_->waitForOutput("\n"), "agent");
}

void Agent::tell(const std::string& event, const std::vector<std::string>& paths) const {
  std::vector<std::string> command = {"ctl", "event", event};
  command.insert(command.end(), paths.begin(), paths.end());
  agentTool(command);
}

void Agent::kill() {
  process_->signal(SIGKILL);
  process_->waitForEnd();
}

}  // namespace wevora::testing_host
