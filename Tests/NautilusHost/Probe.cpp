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

#include "Hosts/Nautilus/GObjectPtr.h"
#include "Tests/NautilusHost/ProbeInterface.h"

namespace wevora::testing_host {
namespace {

using nautilus::GObjectPtr;
using nautilus::GText;
using nautilus::objectProperty;
using nautilus::textProperty;

constexpr const char* kInterfaceXml = R"xml(
<node><interface name="com.Wevora.Test.NautilusProbe">
  <method name="Windows"><arg type="as" direction="out"/></method>
  <method name="Look"><arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="a(ss(dddd))" direction="out"/></method>
  <method name="Rows"><arg type="u" direction="in"/><arg type="a(ss(dddd))" direction="out"/></method>
  <method name="NextFrame"><arg type="u" direction="in"/></method>
  <method name="Scroll"><arg type="u" direction="in"/><arg type="d" direction="in"/></method>
  <method name="Activate"><arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/></method>
  <method name="Eject"><arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="b" direction="out"/></method>
  <method name="ScrollTime"><arg type="u" direction="in"/><arg type="u" direction="in"/><arg type="ad" direction="out"/></method>
  <method name="Search"><arg type="u" direction="in"/><arg type="s" direction="in"/></method>
</interface></node>)xml";

bool isOf(GtkWidget* widget, std::initializer_list<const char*> classes) {
  const char* name = G_OBJECT_TYPE_NAME(widget);
  return std::any_of(classes.begin(), classes.end(),
                     [name](const char* wanted) { return std::strcmp(name, wanted) == 0; });
}

/// Calls for each widget that is on the screen, parents first.
void forEachBelow(GtkWidget* widget, const std::function<void(GtkWidget*)>& function) {
  function(widget);
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child))
    if (gtk_widget_get_mapped(child)) forEachBelow(child, function);
}

std::vector<GtkWidget*> hostWindows() {
  std::vector<GtkWidget*> windows;
  GListModel* all = gtk_window_get_toplevels();
  for (guint i = 0; i < g_list_model_get_n_items(all); ++i) {
    const GObjectPtr<GtkWidget> window(static_cast<GtkWidget*>(g_list_model_get_item(all, i)));
    if (isOf(window.get(), {"NautilusWindow"})) windows.push_back(window.get());
  }
  return windows;
}

GtkWidget* windowOf(guint number) {
  const auto windows = hostWindows();
  return number < windows.size() ? windows[number] : nullptr;
}

/// In the window's picture; none for what a view that scrolls cuts off.
std::optional<graphene_rect_t> frameIn(GtkWidget* window, GtkWidget* widget) {
  graphene_rect_t frame;
  graphene_rect_t whole;
  if (!gtk_widget_compute_bounds(widget, window, &frame) ||
      !gtk_widget_compute_bounds(window, window, &whole))
    return std::nullopt;
  for (GtkWidget* around = widget; around != window; around = gtk_widget_get_parent(around)) {
    graphene_rect_t part;
    if (gtk_widget_get_overflow(around) == GTK_OVERFLOW_HIDDEN &&
        (!gtk_widget_compute_bounds(around, window, &part) ||
         !graphene_rect_contains_rect(&part, &frame)))
      return std::nullopt;
  }
  graphene_rect_offset(&frame, -whole.origin.x, -whole.origin.y);
  return frame;
}

GtkWidget* pictureOf(GtkWidget* cell) {
  GtkWidget* found = nullptr;
  forEachBelow(cell, [&](GtkWidget* widget) {
    if (found == nullptr && (GTK_IS_PICTURE(widget) || GTK_IS_IMAGE(widget))) found = widget;
  });
  return found;
}

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
  forEachBelow(window, [&](GtkWidget* widget) {
    if (!isOf(widget, {"NautilusGridCell", "NautilusNameCell"})) return;
    const auto item = objectProperty(widget, "item");
    const auto file = objectProperty(item.get(), "file");
    GtkWidget* picture = pictureOf(widget);
    if (!file || picture == nullptr) return;
    const auto frame = frameIn(window, picture);
    const GText uri(nautilus_file_info_get_uri(NAUTILUS_FILE_INFO(file.get())));
    if (frame && uri) addPlace(cells, uri.get(), G_OBJECT_TYPE_NAME(widget), *frame);
  });
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

/// The view of the window's items.
GtkAdjustment* adjustmentOf(GtkWidget* window) {
  GtkAdjustment* found = nullptr;
  forEachBelow(window, [&](GtkWidget* widget) {
    if (GTK_IS_GRID_VIEW(widget) || GTK_IS_COLUMN_VIEW(widget))
      found = gtk_scrollable_get_vadjustment(GTK_SCROLLABLE(widget));
  });
  return found;
}

void scrollTo(GtkWidget* window, double part) {
  GtkAdjustment* adjustment = adjustmentOf(window);
  if (adjustment == nullptr) return;
  const double range =
      gtk_adjustment_get_upper(adjustment) - gtk_adjustment_get_page_size(adjustment);
  gtk_adjustment_set_value(adjustment, std::round(std::max(0.0, range) * part));
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

/// Scrolls through the view once, a step with each frame, and notes how long GTK took for each
/// frame from its first to its last phase, in milliseconds.
class ScrollTiming {
 public:
  ScrollTiming(GtkWidget* window, guint frames, Invocation* invocation)
      : window_(window), frames_(frames), invocation_(invocation) {}

  static void start(GtkWidget* window, guint frames, Invocation* invocation) {
    auto* timing = std::make_unique<ScrollTiming>(window, frames, invocation).release();
    GdkFrameClock* clock = gtk_widget_get_frame_clock(window);
    timing->clock_ = clock;
    timing->before_ = g_signal_connect(
        clock, "before-paint",
        G_CALLBACK(+[](GdkFrameClock*, ScrollTiming* it) { it->began_ = g_get_monotonic_time(); }),
        timing);
    timing->after_ = g_signal_connect(
        clock, "after-paint",
        G_CALLBACK(+[](GdkFrameClock*, ScrollTiming* it) { it->frameEnded(); }), timing);
    gdk_frame_clock_begin_updating(clock);
  }

 private:
  void frameEnded() {
    times_.push_back(static_cast<double>(g_get_monotonic_time() - began_) / 1000.0);
    if (times_.size() < frames_) {
      scrollTo(window_, static_cast<double>(times_.size()) / frames_);
      return;
    }
    const std::unique_ptr<ScrollTiming> ended(this);
    gdk_frame_clock_end_updating(clock_);
    g_signal_handler_disconnect(clock_, before_);
    g_signal_handler_disconnect(clock_, after_);
    GVariantBuilder times;
    g_variant_builder_init(&times, G_VARIANT_TYPE("ad"));
    for (const double time : times_) g_variant_builder_add(&times, "d", time);
    g_dbus_method_invocation_return_value(invocation_, g_variant_new("(ad)", &times));
  }

  GtkWidget* const window_;
  const guint frames_;
  Invocation* const invocation_;
  GdkFrameClock* clock_ = nullptr;
  gulong before_ = 0;
  gulong after_ = 0;
  gint64 began_ = 0;
  std::vector<double> times_;
};

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
  guint frames = 0;
  g_variant_get(arguments, "(uu)", &number, &frames);
  ScrollTiming::start(window, frames, invocation);
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
  GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kInterfaceXml, nullptr);
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
