// A module of the file manager's, for tests: tells over the session bus what is on the screen, and
// where, and does what a person would do. It knows nothing of the module that is tested.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <gtk/gtk.h>
#include <memory>
#include <nautilus-extension.h>
#include <optional>
#include <string>
#include <vector>

#include "Hosts/Nautilus/ObjectProperties.h"
#include "Tests/HostSession/ProbeInterface.h"
#include "Tests/NautilusHost/ProbeTimes.h"
#include "Tests/NautilusHost/ProbeWidgets.h"

namespace wevora::testing_host {
namespace {

using nautilus::GObjectPtr;
using nautilus::GText;
using nautilus::objectProperty;
using nautilus::textProperty;

void addPlace(GVariantBuilder& places, const std::string& name, const std::string& kind,
              const graphene_rect_t& frame) {
  const GText valid(g_utf8_make_valid(name.c_str(), -1));
  g_variant_builder_add(&places, "(ss(dddd))", valid.get(), kind.c_str(),
                        static_cast<double>(frame.origin.x), static_cast<double>(frame.origin.y),
                        static_cast<double>(frame.size.width),
                        static_cast<double>(frame.size.height));
}

GVariant* cellsOf(GtkWidget* window) {
  GVariantBuilder cells;
  g_variant_builder_init(&cells, G_VARIANT_TYPE("a(ss(dddd))"));
  for (const auto& cell : visibleCells(window))
    addPlace(cells, cell.uri, G_OBJECT_TYPE_NAME(cell.widget), cell.frame);
  return g_variant_new("(a(ss(dddd)))", &cells);
}

GVariant* rowsOf(GtkWidget* window) {
  GVariantBuilder rows;
  g_variant_builder_init(&rows, G_VARIANT_TYPE("a(ss(dddd))"));
  forEachBelow(window, [&](GtkWidget* widget) {
    if (!isOf(widget, {"NautilusGtkSidebarRow", "NautilusSidebarRow"})) return;
    const auto label = textProperty(widget, "label");
    const auto icon = objectProperty(widget, "start-icon");
    GtkWidget* picture = pictureOf(widget);
    if (!label || picture == nullptr) return;
    if (const auto frame = frameIn(window, picture))
      addPlace(rows, *label, icon ? G_OBJECT_TYPE_NAME(icon.get()) : "", *frame);
  });
  return g_variant_new("(a(ss(dddd)))", &rows);
}

/// Its width, its height, how many of its pixels are a point, and its pixels: 32 bits each.
bool write(GdkTexture* texture, std::uint32_t scale, const char* file) {
  const auto width = static_cast<std::uint32_t>(gdk_texture_get_width(texture));
  const auto height = static_cast<std::uint32_t>(gdk_texture_get_height(texture));
  std::vector<std::uint32_t> words(3 + std::size_t{width} * height);
  words[0] = width;
  words[1] = height;
  words[2] = scale;
  gdk_texture_download(texture, reinterpret_cast<guchar*>(&words[3]),
                       width * sizeof(std::uint32_t));
  std::ofstream out(file, std::ios::binary);
  out.write(reinterpret_cast<const char*>(words.data()),
            static_cast<std::streamsize>(words.size() * sizeof(std::uint32_t)));
  return out.good();
}

/// What the window's widgets drew last: GTK's own nodes, the kept ones among them.
bool savePicture(GtkWidget* window, const char* file) {
  const GObjectPtr<GdkPaintable> paintable(gtk_widget_paintable_new(window));
  const int width = gdk_paintable_get_intrinsic_width(paintable.get());
  const int height = gdk_paintable_get_intrinsic_height(paintable.get());
  const int scale = gtk_widget_get_scale_factor(window);
  const auto pixels = [scale](int points) { return static_cast<float>(points * scale); };
  GtkSnapshot* snapshot = gtk_snapshot_new();
  gtk_snapshot_scale(snapshot, pixels(1), pixels(1));
  gdk_paintable_snapshot(paintable.get(), snapshot, width, height);
  GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
  if (node == nullptr) return false;
  const graphene_rect_t whole{{0, 0}, {pixels(width), pixels(height)}};
  const GObjectPtr<GdkTexture> texture(
      gsk_renderer_render_texture(gtk_native_get_renderer(GTK_NATIVE(window)), node, &whole));
  gsk_render_node_unref(node);
  return write(texture.get(), static_cast<std::uint32_t>(scale), file);
}

using Invocation = GDBusMethodInvocation;

/// Answers when the window has drawn its next frame: what it shows and what it is asked for are of
/// one moment then.
void answerAfterFrame(GtkWidget* window, Invocation* invocation,
                      std::function<GVariant*()> answer = {}) {
  struct Waiting {
    Invocation* invocation;
    std::function<GVariant*()> answer;
    gulong handler;
  };
  GdkFrameClock* clock = gtk_widget_get_frame_clock(window);
  auto* waiting = std::make_unique<Waiting>(Waiting{invocation, std::move(answer), 0}).release();
  waiting->handler =
      g_signal_connect(clock, "after-paint", G_CALLBACK(+[](GdkFrameClock* painted, Waiting* done) {
                         const std::unique_ptr<Waiting> ended(done);
                         g_signal_handler_disconnect(painted, done->handler);
                         g_dbus_method_invocation_return_value(
                             done->invocation, done->answer ? done->answer() : nullptr);
                       }),
                       waiting);
  gdk_frame_clock_request_phase(clock, GDK_FRAME_CLOCK_PHASE_AFTER_PAINT);
}

void search(GtkWidget* window, const char* text) {
  gtk_widget_activate_action(window, "slot.search-visible", nullptr);
  forEachBelow(window, [&](GtkWidget* widget) {
    if (GTK_IS_TEXT(widget) && gtk_widget_get_ancestor(widget, GTK_TYPE_LIST_BOX) == nullptr)
      gtk_editable_set_text(GTK_EDITABLE(widget), text);
  });
}

bool eject(GtkWidget* window, const std::string& label) {
  bool clicked = false;
  forEachBelow(window, [&](GtkWidget* widget) {
    if (!isOf(widget, {"NautilusGtkSidebarRow", "NautilusSidebarRow"}) ||
        textProperty(widget, "label") != label)
      return;
    forEachBelow(widget, [&](GtkWidget* below) {
      if (!GTK_IS_BUTTON(below)) return;
      g_signal_emit_by_name(below, "clicked");
      clicked = true;
    });
  });
  return clicked;
}

void answerWindows(Invocation* invocation) {
  GVariantBuilder titles;
  g_variant_builder_init(&titles, G_VARIANT_TYPE("as"));
  for (GtkWidget* window : hostWindows()) {
    const char* title = gtk_window_get_title(GTK_WINDOW(window));
    g_variant_builder_add(&titles, "s", title == nullptr ? "" : title);
  }
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(as)", &titles));
}

void activate(GtkWidget* window, const char* action, const char* argument) {
  if (*argument == '\0')
    gtk_widget_activate_action(window, action, nullptr);
  else
    gtk_widget_activate_action_variant(
        window, action, g_variant_parse(nullptr, argument, nullptr, nullptr, nullptr));
}

void timed(GtkWidget* window, const std::string& method, GVariant* arguments,
           Invocation* invocation) {
  guint number = 0;
  if (method == "TimeUntilPainted") {
    const char* action = nullptr;
    WantedCells wanted;
    const char* folder = nullptr;
    g_variant_get(arguments, "(u&s&suu)", &number, &action, &folder, &wanted.count,
                  &wanted.textures);
    wanted.folder = folder;
    answerOncePainted(window, wanted, invocation);
    return activate(window, action, "");
  }
  guint times = 0;
  if (method == "DrawTimes") {
    g_variant_get(arguments, "(uu)", &number, &times);
    return g_dbus_method_invocation_return_value(invocation, drawTimes(window, times));
  }
  double step = 0;
  g_variant_get(arguments, "(uud)", &number, &times, &step);
  answerFrameTimes(window, times, step, invocation);
}

void answerOf(GtkWidget* window, const std::string& method, GVariant* arguments,
              Invocation* invocation) {
  const auto done = [&](GVariant* answer) {
    g_dbus_method_invocation_return_value(invocation, answer);
  };
  guint number = 0;
  if (method == "Rows") return done(rowsOf(window));
  if (method == "NextFrame") return answerAfterFrame(window, invocation);
  if (method == "Look") {
    const char* file = nullptr;
    g_variant_get(arguments, "(u&s)", &number, &file);
    return answerAfterFrame(window, invocation, [window, path = std::string(file)] {
      if (!path.empty()) savePicture(window, path.c_str());
      return cellsOf(window);
    });
  }
  if (method == "Scroll") {
    double part = 0;
    g_variant_get(arguments, "(ud)", &number, &part);
    scrollTo(window, part);
    return answerAfterFrame(window, invocation);
  }
  if (method == "Activate") {
    const char* action = nullptr;
    const char* argument = nullptr;
    g_variant_get(arguments, "(u&s&s)", &number, &action, &argument);
    activate(window, action, argument);
    return done(nullptr);
  }
  if (method == "Search") {
    const char* text = nullptr;
    g_variant_get(arguments, "(u&s)", &number, &text);
    search(window, text);
    return done(nullptr);
  }
  if (method == "Eject") {
    const char* label = nullptr;
    g_variant_get(arguments, "(u&s)", &number, &label);
    return done(g_variant_new("(b)", eject(window, label) ? TRUE : FALSE));
  }
  if (method == "FrameTimes" || method == "DrawTimes" || method == "TimeUntilPainted")
    return timed(window, method, arguments, invocation);
  g_dbus_method_invocation_return_dbus_error(invocation, kProbeError, "not of this host");
}

void called(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method,
            GVariant* arguments, Invocation* invocation, gpointer) noexcept {
  if (std::strcmp(method, "Windows") == 0) return answerWindows(invocation);
  guint number = 0;
  g_variant_get_child(arguments, 0, "u", &number);
  GtkWidget* window = windowOf(number);
  if (window == nullptr)
    return g_dbus_method_invocation_return_dbus_error(invocation, kProbeError, "no such window");
  answerOf(window, method, arguments, invocation);
}

void serve(GDBusConnection* bus, const gchar*, gpointer) noexcept {
  static const GDBusInterfaceVTable table = {&called, nullptr, nullptr, {}};
  GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kProbeXml, nullptr);
  g_dbus_connection_register_object(bus, kProbePath, node->interfaces[0], &table, nullptr, nullptr,
                                    nullptr);
  g_dbus_node_info_unref(node);
}

}  // namespace

void serveProbe() {
  g_bus_own_name(G_BUS_TYPE_SESSION, kProbeName, G_BUS_NAME_OWNER_FLAGS_NONE, &serve, nullptr,
                 nullptr, nullptr, nullptr);
}

}  // namespace wevora::testing_host
