#include "Tests/NautilusHost/Session.h"

#include <filesystem>
#include <vector>

namespace wevora::testing_host {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSettings = ".config/glib-2.0/settings/keyfile";

void installModules(Session::Module module) {
  const fs::path extensions = WEVORA_NAUTILUS_EXTENSIONS;
  mountEmpty(extensions.string());
  fs::copy_file(WEVORA_PROBE, extensions / "wevora-probe.so");
  if (module == Session::Module::Present)
    fs::copy_file(WEVORA_MODULE, extensions / "wevora-nautilus.so");
}

const char* nameOf(Session::View view) {
  return view == Session::View::Icons ? "icon-view" : "list-view";
}

std::vector<std::string> newWindow(const std::string& location) {
  return {"nautilus", "--new-window", location};
}

const Environment kEnvironment = {{"GDK_BACKEND", "x11"},
                                  {"GSK_RENDERER", "cairo"},
                                  {"GTK_A11Y", "none"},
                                  {"GSETTINGS_BACKEND", "keyfile"}};

}  // namespace

Session::Session(View view, Module module) : HostSession("2400x1600") {
  installModules(module);
  writeAtHome(kSettings, std::string("[org/gnome/nautilus/preferences]\ndefault-folder-viewer='") +
                             nameOf(view) + "'\nrecursive-search='always'\n");
  setWindowSize(1000, 800);
}

void Session::setWindowSize(int width, int height) const {
  writeAtHome(kSettings, "[org/gnome/nautilus/window-state]\ninitial-size=(" +
                             std::to_string(width) + ", " + std::to_string(height) + ")\n");
}

void Session::open(const std::string& location, std::size_t items) {
  startFileManager(newWindow(location), kEnvironment);
  waitForItems(items, 0);
}

void Session::openAnother(const std::string& location, std::size_t items) {
  const auto before = screen().windows().size();
  startAnother(newWindow(location), kEnvironment);
  waitForItems(items, static_cast<unsigned>(before));
}

}  // namespace wevora::testing_host
