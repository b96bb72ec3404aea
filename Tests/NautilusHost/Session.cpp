#include "Tests/NautilusHost/Session.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "Hosts/Nautilus/ObjectProperties.h"
#include "Platform/Graphics/BitmapContext.h"
#include "Platform/Graphics/GraphicsContext.h"
#include "Platform/Graphics/ImageFiles.h"

namespace wevora::testing_host {
namespace {

namespace fs = std::filesystem;
using nautilus::GText;
using platform::Bitmap;

constexpr const char* kSettings = ".config/glib-2.0/settings/keyfile";

void installModules(NautilusSession::Module module) {
  const fs::path extensions = WEVORA_NAUTILUS_EXTENSIONS;
  mountEmpty(extensions.string());
  fs::copy_file(WEVORA_PROBE, extensions / "wevora-probe.so");
  if (module == NautilusSession::Module::Present)
    fs::copy_file(WEVORA_MODULE, extensions / "wevora-nautilus.so");
}

const char* nameOf(NautilusSession::View view) {
  return view == NautilusSession::View::Icons ? "icon-view" : "list-view";
}

/// What a picture looks like when the host shows it with an opacity of 0.7.
platform::BitmapRef dimmedOn(std::uint32_t background, const Bitmap& bitmap) {
  std::vector<std::uint32_t> pixels(bitmap.pixels().begin(), bitmap.pixels().end());
  for (auto& pixel : pixels) {
    std::uint32_t mixed = pixel & 0xFF000000U;
    for (const unsigned shift : {0U, 8U, 16U})
      mixed |= ((((pixel >> shift) & 255U) * 7 + ((background >> shift) & 255U) * 3) / 10) << shift;
    pixel = mixed;
  }
  return Bitmap::make(bitmap.width(), bitmap.height(), std::move(pixels));
}

/// The bundle's own image of a drive, with sides of so many pixels.
platform::BitmapRef drivePicture(std::size_t side) {
  const auto image = platform::imageWithContentsOfFile(WEVORA_SIDEBAR_PICTURE);
  if (!image) throw std::runtime_error("the bundle has no picture of a drive");
  const auto context =
      platform::BitmapContext::create({.width = side, .height = side, .flipped = false});
  const auto points = static_cast<double>(side);
  const platform::CurrentTarget current(*context);
  image->drawInRect({0, 0, points, points}, {}, platform::CompositingOperation::SourceOver, 1.0);
  return context->createImage();
}

}  // namespace

NautilusSession::NautilusSession(View view, Module module) : HostSession("2400x1600") {
  installModules(module);
  writeAtHome(kSettings, std::string("[org/gnome/nautilus/preferences]\ndefault-folder-viewer='") +
                             nameOf(view) + "'\nrecursive-search='always'\n");
  setWindowSize(1000, 800);
  // Nothing fades or moves by itself, so pictures can be compared soon.
  writeAtHome(".config/gtk-4.0/settings.ini",
              "[Settings]\ngtk-enable-animations=false\ngtk-overlay-scrolling=false\n");
}

Environment NautilusSession::environment() const {
  return {{"GDK_BACKEND", "x11"},           {"GDK_SCALE", std::to_string(scale_)},
          {"GSK_RENDERER", "cairo"},        {"GTK_A11Y", "none"},
          {"GSETTINGS_BACKEND", "keyfile"}, {"LD_PRELOAD", preloaded() + WEVORA_EARLY_ASAN}};
}

void NautilusSession::setWindowSize(int width, int height) const {
  writeAtHome(kSettings, "[org/gnome/nautilus/window-state]\ninitial-size=(" +
                             std::to_string(width) + ", " + std::to_string(height) + ")\n");
}

void NautilusSession::addThumbnail(const std::string& file, int width, int height) const {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) throw std::runtime_error("there is no " + file);
  const std::string uri = uriOf(file);
  const GText name(g_compute_checksum_for_string(G_CHECKSUM_MD5, uri.c_str(), -1));
  const fs::path folder = fs::path(home()) / ".cache/thumbnails/large";
  fs::create_directories(folder);
  ChildProcess convert({"convert", "-size", std::to_string(width) + "x" + std::to_string(height),
                        "xc:white", "-set", "Thumb::URI", uri, "-set", "Thumb::MTime",
                        std::to_string(status.st_mtime),
                        (folder / (std::string(name.get()) + ".png")).string()});
  if (convert.waitForExit(std::chrono::seconds(60)) != 0)
    throw std::runtime_error("no thumbnail: " + convert.errors());
}

void NautilusSession::useSmallIcons() const {
  writeAtHome(kSettings, "[org/gnome/nautilus/icon-view]\ndefault-zoom-level='small'\n");
}

void NautilusSession::hideShadows() const {
  writeAtHome(".config/gtk-4.0/gtk.css", ".view picture { filter: none; }\n");
}

void NautilusSession::open(const std::string& location, std::size_t items) {
  if (fileManagerRuns()) {
    openAnother(location, 0);
    closeOlderWindows();
  } else {
    startFileManager({"nautilus", "--new-window", location}, environment());
  }
  waitForItems(items, 0);
}

void NautilusSession::openAnother(const std::string& location, std::size_t items) {
  const auto before = screen().windows().size();
  startAnother({"nautilus", "--new-window", location}, environment());
  waitForItems(items, static_cast<unsigned>(before));
}

// The host dims a row's image and leaves a margin around it.
bool NautilusSession::isDriveAt(const Bitmap& picture, const Place& row) {
  constexpr std::size_t kSide = 16;
  const auto& frame = row.frame;
  const double above = (frame.height - kSide) / 2;
  const auto background =
      picture.pixels()[static_cast<std::size_t>(std::lround(frame.y)) * picture.width() +
                       static_cast<std::size_t>(std::lround(frame.x))];
  const auto dimmed = dimmedOn(background, *drivePicture(kSide));
  return shareShown(*dimmed, picture, {frame.x, frame.y + above, kSide, kSide}) > 0.9;
}

}  // namespace wevora::testing_host
