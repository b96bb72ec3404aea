#include "Tests/HostSession/Screen.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <stdexcept>

#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/HostSession/ProbeInterface.h"

namespace wevora::testing_host {
namespace {

constexpr int kTimeout = 60'000;  // milliseconds

/// Reads what PictureFile::write wrote.
Capture readPicture(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  std::array<std::uint32_t, 3> size{};
  in.read(reinterpret_cast<char*>(size.data()), sizeof size);
  std::vector<std::uint32_t> pixels(std::size_t{size[0]} * size[1]);
  in.read(reinterpret_cast<char*>(pixels.data()),
          static_cast<std::streamsize>(pixels.size() * sizeof(std::uint32_t)));
  if (!in) return {};
  return {.picture = platform::Bitmap::make(size[0], size[1], std::move(pixels)),
          .scale = static_cast<double>(size[2]),
          .cells = {}};
}

}  // namespace

Screen::Screen(const std::string& address)
    : bus_(g_dbus_connection_new_for_address_sync(
          address.c_str(),
          static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
          nullptr, nullptr, nullptr)) {
  if (bus_ == nullptr) throw std::runtime_error("no bus");
}

Screen::~Screen() {
  g_object_unref(bus_);
}

Screen::Variant Screen::call(const char* method, GVariant* arguments) const {
  return Variant(g_dbus_connection_call_sync(bus_, kProbeName, kProbePath, kProbeName, method,
                                             arguments, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START,
                                             kTimeout, nullptr, nullptr));
}

std::vector<std::string> Screen::windows() const {
  std::vector<std::string> titles;
  const auto reply = call("Windows", nullptr);
  if (!reply) return titles;
  const Variant list(g_variant_get_child_value(reply.get(), 0));
  for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
    const char* title = nullptr;
    g_variant_get_child(list.get(), i, "&s", &title);
    titles.emplace_back(title);
  }
  return titles;
}

std::vector<Place> Screen::placesOf(const Variant& reply) {
  std::vector<Place> places;
  if (!reply) return places;
  const Variant list(g_variant_get_child_value(reply.get(), 0));
  for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
    const char* name = nullptr;
    const char* kind = nullptr;
    platform::Rect frame;
    g_variant_get_child(list.get(), i, "(&s&s(dddd))", &name, &kind, &frame.x, &frame.y,
                        &frame.width, &frame.height);
    places.push_back({name, kind, frame});
  }
  return places;
}

std::vector<Place> Screen::sidebar(unsigned window) const {
  return placesOf(call("Rows", g_variant_new("(u)", window)));
}

Capture Screen::capture(unsigned window) const {
  const platform::TemporaryFolder folder;
  const std::string file = folder.path("picture");
  auto cells = placesOf(call("Capture", g_variant_new("(us)", window, file.c_str())));
  Capture shown = readPicture(file);
  shown.cells = std::move(cells);
  return shown;
}

std::vector<Place> Screen::cells(unsigned window) const {
  return placesOf(call("Capture", g_variant_new("(us)", window, "")));
}

void Screen::nextFrame(unsigned window) const {
  call("NextFrame", g_variant_new("(u)", window));
}

void Screen::scroll(double part, unsigned window) const {
  call("Scroll", g_variant_new("(ud)", window, part));
}

void Screen::activate(const std::string& action, const std::string& argument,
                      unsigned window) const {
  call("Activate", g_variant_new("(uss)", window, action.c_str(), argument.c_str()));
}

void Screen::move(const std::string& uri, double x, double y, unsigned window) const {
  call("Move", g_variant_new("(usdd)", window, uri.c_str(), x, y));
}

unsigned Screen::paints(unsigned window) const {
  const auto reply = call("Paints", g_variant_new("(u)", window));
  unsigned count = 0;
  if (reply) g_variant_get(reply.get(), "(u)", &count);
  return count;
}

void Screen::close(unsigned window) const {
  call("Close", g_variant_new("(u)", window));
}

bool Screen::advanceClock(double seconds) const {
  return call("AdvanceClock", g_variant_new("(d)", seconds)) != nullptr;
}

void Screen::search(const std::string& text, unsigned window) const {
  call("Search", g_variant_new("(us)", window, text.c_str()));
}

bool Screen::eject(const std::string& label, unsigned window) const {
  const auto reply = call("Eject", g_variant_new("(us)", window, label.c_str()));
  gboolean pressed = FALSE;
  if (reply) g_variant_get(reply.get(), "(b)", &pressed);
  return pressed != FALSE;
}

}  // namespace wevora::testing_host
