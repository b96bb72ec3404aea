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

/// As a picture is seen that the host shows with 7/10 of its strength.
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

/// The bundle's own picture, with as many pixels a side.
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

void NautilusSession::addToTrash(const std::string& name) const {
  const std::string trash = ".local/share/Trash";
  writeAtHome(trash + "/files/" + name, "x");
  writeAtHome(trash + "/info/" + name + ".trashinfo",
              "[Trash Info]\nPath=" + home() + "/" + name + "\nDeletionDate=2020-01-01T00:00:00\n");
}

void NautilusSession::addToRecent(const std::string& file) const {
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

void NautilusSession::useSmallIcons() const {
  writeAtHome(kSettings, "[org/gnome/nautilus/icon-view]\ndefault-zoom-level='small'\n");
}

void NautilusSession::hideShadows() const {
  writeAtHome(".config/gtk-4.0/gtk.css", ".view picture { filter: none; }\n");
}

void NautilusSession::open(const std::string& location, std::size_t items) {
  startFileManager({"nautilus", "--new-window", location}, environment());
  waitForItems(items, 0);
}

void NautilusSession::openAnother(const std::string& location, std::size_t items) {
  const auto before = screen().windows().size();
  startAnother({"nautilus", "--new-window", location}, environment());
  waitForItems(items, static_cast<unsigned>(before));
}

// The host dims a row's image, and leaves some room beside and above it.
bool NautilusSession::isDriveAt(const Bitmap& picture, const Place& row) {
  constexpr std::size_t kSide = 16;
  const auto& frame = row.frame;
  const double above = (frame.height - kSide) / 2;
  const auto background =
      picture.pixels()[static_cast<std::size_t>(std::lround(frame.y)) * picture.width() +
                       static_cast<std::size_t>(std::lround(frame.x))];
  const auto dimmed = dimmedOn(background, *drivePicture(kSide));
  return shareThere(*dimmed, picture, {frame.x, frame.y + above, kSide, kSide}) > 0.9;
}

}  // namespace wevora::testing_host
