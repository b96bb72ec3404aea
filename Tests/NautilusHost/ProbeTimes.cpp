#include "Tests/NautilusHost/ProbeTimes.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <unistd.h>
#include <utility>
#include <vector>

#include "Hosts/Nautilus/ObjectProperties.h"
#include "Tests/NautilusHost/ProbeWidgets.h"

namespace wevora::testing_host {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

double millisecondsSince(Clock::time_point start) {
  return Milliseconds(Clock::now() - start).count();
}

double threadMilliseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

GVariant* pairsOf(const std::vector<std::pair<double, double>>& pairs) {
  GVariantBuilder times;
  g_variant_builder_init(&times, G_VARIANT_TYPE("a(dd)"));
  for (const auto& [first, second] : pairs) g_variant_builder_add(&times, "(dd)", first, second);
  return g_variant_new("(a(dd))", &times);
}

void scrollBy(GtkWidget* window, double step) {
  GtkAdjustment* adjustment = adjustmentOf(window);
  if (adjustment == nullptr) return;
  const double range =
      gtk_adjustment_get_upper(adjustment) - gtk_adjustment_get_page_size(adjustment);
  const double next = gtk_adjustment_get_value(adjustment) + step;
  gtk_adjustment_set_value(adjustment, next > range ? 0 : next);
}

/// Handles frames until the last one, and then deletes itself.
class Frames {
 public:
  explicit Frames(GtkWidget* window) : window_(window), clock_(gtk_widget_get_frame_clock(window)) {
    before_ = g_signal_connect(
        clock_, "before-paint",
        G_CALLBACK(+[](GdkFrameClock*, Frames* self) noexcept { self->begun(); }), this);
    after_ = g_signal_connect(clock_, "after-paint",
                              G_CALLBACK(+[](GdkFrameClock*, Frames* self) noexcept {
                                if (self->ended()) std::default_delete<Frames>()(self);
                              }),
                              this);
  }
  virtual ~Frames() {
    g_signal_handler_disconnect(clock_, before_);
    g_signal_handler_disconnect(clock_, after_);
  }
  Frames(const Frames&) = delete;
  Frames& operator=(const Frames&) = delete;

 protected:
  GtkWidget* window() const { return window_; }
  GdkFrameClock* clock() const { return clock_; }
  virtual void begun() {}
  /// Whether this was the last frame.
  virtual bool ended() = 0;

 private:
  GtkWidget* const window_;
  GdkFrameClock* const clock_;
  gulong before_ = 0;
  gulong after_ = 0;
};

class FrameTimes : public Frames {
 public:
  FrameTimes(GtkWidget* window, guint frames, double step, GDBusMethodInvocation* invocation)
      : Frames(window), frames_(frames), step_(step), invocation_(invocation) {
    gdk_frame_clock_begin_updating(clock());
    scrollBy(window, step);
  }

 private:
  void begun() override {
    began_ = Clock::now();
    beganWork_ = threadMilliseconds();
  }
  bool ended() override {
    times_.emplace_back(millisecondsSince(began_), threadMilliseconds() - beganWork_);
    if (times_.size() < frames_) {
      scrollBy(window(), step_);
      return false;
    }
    gdk_frame_clock_end_updating(clock());
    g_dbus_method_invocation_return_value(invocation_, pairsOf(times_));
    return true;
  }

  const guint frames_;
  const double step_;
  GDBusMethodInvocation* const invocation_;
  Clock::time_point began_;
  double beganWork_ = 0;
  std::vector<std::pair<double, double>> times_;
};

guint texturesIn(const GskRenderNode* node) {
  if (node == nullptr) return 0;
  switch (gsk_render_node_get_node_type(node)) {
    case GSK_TEXTURE_NODE:
    case GSK_CAIRO_NODE:  // replaces a texture in GTK's software renderer
      return 1;
    case GSK_CONTAINER_NODE: {
      guint sum = 0;
      for (guint i = 0; i < gsk_container_node_get_n_children(node); ++i)
        sum += texturesIn(gsk_container_node_get_child(node, i));
      return sum;
    }
    case GSK_TRANSFORM_NODE:
      return texturesIn(gsk_transform_node_get_child(node));
    case GSK_CLIP_NODE:
      return texturesIn(gsk_clip_node_get_child(node));
    case GSK_ROUNDED_CLIP_NODE:
      return texturesIn(gsk_rounded_clip_node_get_child(node));
    case GSK_OPACITY_NODE:
      return texturesIn(gsk_opacity_node_get_child(node));
    case GSK_COLOR_MATRIX_NODE:
      return texturesIn(gsk_color_matrix_node_get_child(node));
    case GSK_SHADOW_NODE:
      return texturesIn(gsk_shadow_node_get_child(node));
    case GSK_DEBUG_NODE:
      return texturesIn(gsk_debug_node_get_child(node));
    default:
      return 0;
  }
}

/// In the cached render nodes of the cell.
guint texturesOf(GtkWidget* cell) {
  GtkSnapshot* snapshot = gtk_snapshot_new();
  gtk_widget_snapshot_child(gtk_widget_get_parent(cell), cell, snapshot);
  GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
  const guint textures = texturesIn(node);
  if (node != nullptr) gsk_render_node_unref(node);
  return textures;
}

class Painting : public Frames {
 public:
  Painting(GtkWidget* window, WantedCells wanted, GDBusMethodInvocation* invocation)
      : Frames(window), wanted_(std::move(wanted)), invocation_(invocation) {}

 private:
  bool ended() override {
    const double time = millisecondsSince(began_);
    const auto cells = visibleCells(window());
    if (cells.size() < wanted_.count || !std::ranges::all_of(cells, [&](const auto& cell) {
          return cell.uri.substr(0, cell.uri.rfind('/')) == wanted_.folder &&
                 texturesOf(cell.widget) >= wanted_.textures;
        }))
      return false;
    g_dbus_method_invocation_return_value(invocation_, g_variant_new("(d)", time));
    return true;
  }

  const WantedCells wanted_;
  GDBusMethodInvocation* const invocation_;
  const Clock::time_point began_ = Clock::now();
};

template <class Work>
double medianMicroseconds(guint times, const Work& work) {
  std::vector<double> taken;
  for (guint i = 0; i < times; ++i) {
    const auto start = Clock::now();
    work();
    taken.push_back(millisecondsSince(start) * 1e3);
  }
  if (taken.empty()) return 0;
  std::ranges::nth_element(taken, taken.begin() + static_cast<std::ptrdiff_t>(taken.size() / 2));
  return taken[taken.size() / 2];
}

}  // namespace

void returnFrameTimes(GtkWidget* window, guint frames, double step,
                      GDBusMethodInvocation* invocation) {
  // It deletes itself after the reply.
  [[maybe_unused]] const auto* running =
      std::make_unique<FrameTimes>(window, frames, step, invocation).release();
}

void returnOncePainted(GtkWidget* window, const WantedCells& wanted,
                       GDBusMethodInvocation* invocation) {
  // It deletes itself after the reply.
  [[maybe_unused]] const auto* running =
      std::make_unique<Painting>(window, wanted, invocation).release();
}

GVariant* drawTimes(GtkWidget* window, guint times) {
  std::vector<std::pair<double, double>> pairs;
  for (const auto& cell : visibleCells(window)) {
    GtkSnapshot* snapshot = gtk_snapshot_new();
    const auto draw = GTK_WIDGET_GET_CLASS(cell.widget)->snapshot;
    const double drawing = medianMicroseconds(times, [&] { draw(cell.widget, snapshot); });
    if (GskRenderNode* node = gtk_snapshot_free_to_node(snapshot)) gsk_render_node_unref(node);
    const nautilus::GText path(g_filename_from_uri(cell.uri.c_str(), nullptr, nullptr));
    const double reading =
        path ? medianMicroseconds(times, [&] { (void)::access(path.get(), R_OK); }) : 0;
    pairs.emplace_back(drawing, reading);
  }
  return pairsOf(pairs);
}

}  // namespace wevora::testing_host
