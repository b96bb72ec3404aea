// A module of the file manager, for tests: reports over the session bus what is on the screen, and
// where, and performs a user's actions. It does not depend on the module that is tested.

#include "Tests/NautilusHost/Probe.h"

#include <cstdint>
#include <functional>
#include <gtk/gtk.h>
#include <memory>
#include <nautilus-extension.h>
#include <string>
#include <vector>

#include "Hosts/Nautilus/ObjectProperties.h"
#include "Tests/HostSession/ProbeServer.h"
#include "Tests/NautilusHost/ProbeTimes.h"
#include "Tests/NautilusHost/ProbeWidgets.h"

namespace wevora::testing_host {
namespace {

using nautilus::GObjectPtr;
using nautilus::GText;
using nautilus::objectProperty;
using nautilus::textProperty;

void addPlace(PlaceList& places, const std::string& name, const char* kind,
              const graphene_rect_t& frame) {
  places.add(name, kind, static_cast<double>(frame.origin.x), static_cast<double>(frame.origin.y),
             static_cast<double>(frame.size.width), static_cast<double>(frame.size.height));
}

GVariant* cellsOf(GtkWidget* window) {
  PlaceList cells;
  for (const auto& cell : visibleCells(window))
    addPlace(cells, cell.uri, G_OBJECT_TYPE_NAME(cell.widget), cell.frame);
  return cells.finish();
}

GVariant* rowsOf(GtkWidget* window) {
  PlaceList rows;
  forEachBelow(window, [&](GtkWidget* widget) {
    if (!isOf(widget, {"NautilusGtkSidebarRow", "NautilusSidebarRow"})) return;
    const auto label = textProperty(widget, "label");
    const auto icon = objectProperty(widget, "start-icon");
    GtkWidget* picture = pictureOf(widget);
    if (!label || picture == nullptr) return;
    if (const auto frame = frameIn(window, picture))
      addPlace(rows, *label, icon ? G_OBJECT_TYPE_NAME(icon.get()) : "", *frame);
  });
  return rows.finish();
}

bool write(GdkTexture* texture, int scale, const char* file) {
  PictureFile picture{.width = static_cast<std::uint32_t>(gdk_texture_get_width(texture)),
                      .height = static_cast<std::uint32_t>(gdk_texture_get_height(texture)),
                      .scale = static_cast<std::uint32_t>(scale),
                      .pixels = {}};
  picture.pixels.resize(std::size_t{picture.width} * picture.height);
  gdk_texture_download(texture, reinterpret_cast<guchar*>(picture.pixels.data()),
                       picture.width * sizeof(std::uint32_t));
  return picture.write(file);
}

/// Saves what the window's widgets drew last: GTK's render nodes, the cached ones included.
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
  return write(texture.get(), scale, file);
}

using Invocation = GDBusMethodInvocation;

/// Returns the invocation after the window's next frame, so that the picture and the places are
/// from the same moment.
void returnAfterFrame(GtkWidget* window, Invocation* invocation,
                      std::function<GVariant*()> result = {}) {
  struct Waiting {
    Invocation* invocation;
    std::function<GVariant*()> result;
    gulong handler;
  };
  GdkFrameClock* clock = gtk_widget_get_frame_clock(window);
  auto* waiting = std::make_unique<Waiting>(Waiting{invocation, std::move(result), 0}).release();
  waiting->handler =
      g_signal_connect(clock, "after-paint", G_CALLBACK(+[](GdkFrameClock* painted, Waiting* done) {
                         const std::unique_ptr<Waiting> ended(done);
                         g_signal_handler_disconnect(painted, done->handler);
                         g_dbus_method_invocation_return_value(
                             done->invocation, done->result ? done->result() : nullptr);
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

std::vector<std::string> windowTitles() {
  std::vector<std::string> titles;
  for (GtkWidget* window : hostWindows()) {
    const char* title = gtk_window_get_title(GTK_WINDOW(window));
    titles.emplace_back(title == nullptr ? "" : title);
  }
  return titles;
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
    returnOncePainted(window, wanted, invocation);
    return activate(window, action, "");
  }
  guint times = 0;
  if (method == "DrawTimes") {
    g_variant_get(arguments, "(uu)", &number, &times);
    return g_dbus_method_invocation_return_value(invocation, drawTimes(window, times));
  }
  double step = 0;
  g_variant_get(arguments, "(uud)", &number, &times, &step);
  returnFrameTimes(window, times, step, invocation);
}

void handle(GtkWidget* window, const std::string& method, GVariant* arguments,
            Invocation* invocation) {
  const auto done = [&](GVariant* result) {
    g_dbus_method_invocation_return_value(invocation, result);
  };
  guint number = 0;
  if (method == "Rows") return done(rowsOf(window));
  if (method == "NextFrame") return returnAfterFrame(window, invocation);
  if (method == "Capture") {
    const char* file = nullptr;
    g_variant_get(arguments, "(u&s)", &number, &file);
    return returnAfterFrame(window, invocation, [window, path = std::string(file)] {
      if (!path.empty()) savePicture(window, path.c_str());
      return cellsOf(window);
    });
  }
  if (method == "Scroll") {
    double part = 0;
    g_variant_get(arguments, "(ud)", &number, &part);
    scrollTo(window, part);
    return returnAfterFrame(window, invocation);
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
  if (method == "Close") {
    gtk_window_close(GTK_WINDOW(window));
    return done(nullptr);
  }
  if (method == "Eject") {
    const char* label = nullptr;
    g_variant_get(arguments, "(u&s)", &number, &label);
    return done(g_variant_new("(b)", eject(window, label) ? TRUE : FALSE));
  }
  if (method == "FrameTimes" || method == "DrawTimes" || method == "TimeUntilPainted")
    return timed(window, method, arguments, invocation);
  returnNotOfThisHost(invocation);
}

void call(guint number, const std::string& method, GVariant* arguments, Invocation* invocation) {
  GtkWidget* window = windowOf(number);
  if (window == nullptr) return returnNoSuchWindow(invocation);
  handle(window, method, arguments, invocation);
}

}  // namespace

void startProbe() {
  serveProbe({.windowTitles = &windowTitles, .call = &call});
}

}  // namespace wevora::testing_host
