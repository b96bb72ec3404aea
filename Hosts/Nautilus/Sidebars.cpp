#include "Hosts/Nautilus/Sidebars.h"

#include <optional>
#include <string>
#include <utility>

#include "Hosts/Nautilus/ObjectProperties.h"
#include "Hosts/Nautilus/Redraw.h"
#include "Hosts/Nautilus/TextureCache.h"
#include "Platform/Base/Guard.h"
#include "Platform/Graphics/Image.h"

namespace wevora::nautilus {
namespace {

using hosts::SidebarRow;
using hosts::SidebarView;
using platform::Id;

constexpr double kRowIconSize = 16;  // points

constexpr const char* kIconProperty = "start-icon";

bool isRow(GtkWidget* widget) {
  return GTK_IS_LIST_BOX_ROW(widget) && hasProperty(widget, kIconProperty);
}

// NOLINTBEGIN(cppcoreguidelines-owning-memory): GLib owns what its sources and objects hold
void runLater(std::function<void()> call) {
  g_idle_add_full(
      G_PRIORITY_HIGH,
      +[](gpointer data) noexcept -> gboolean {
        platform::catchAll([&] { (*static_cast<std::function<void()>*>(data))(); });
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>(std::move(call)),
      +[](gpointer data) noexcept { delete static_cast<std::function<void()>*>(data); });
}

/// What is remembered of a row widget for as long as it lives.
struct RowState {
  hosts::FeedbackGuard guard{
      {.runLater = &runLater, .report = [] {
         g_message(
             "wevora: a sidebar row keeps replacing its image; it keeps the file manager's own");
       }}};
  GObjectPtr<GObject> given;  ///< the image that this system has set
  bool reacting = false;      ///< to a notification of the row
  bool changed = false;       ///< by this system, in the round under way

  static RowState* of(GtkWidget* row) {
    return static_cast<RowState*>(g_object_get_data(G_OBJECT(row), kKey));
  }
  static void attachTo(GtkWidget* row) {
    g_object_set_data_full(
        G_OBJECT(row), kKey, new RowState,
        +[](gpointer state) noexcept { delete static_cast<RowState*>(state); });
  }
  bool isShownBy(GtkWidget* row) const {
    return given && objectProperty(row, kIconProperty) == given;
  }
  /// Whether the row's image may be set now.
  bool mayChange() {
    if (!reacting || changed) return true;
    changed = guard.beginRound();
    return changed;
  }

 private:
  static constexpr const char* kKey = "wevora-row-state";
};
// NOLINTEND(cppcoreguidelines-owning-memory)

class Row : public SidebarRow {
 public:
  Row(platform::Class& isa, GtkWidget* widget) : SidebarRow(isa), widget_(widget) {}

  std::optional<std::string> name() const override {
    return textProperty(widget_.get().get(), "label");
  }
  void setImage(const platform::Image& image) override {
    const auto row = widget_.get();
    if (!row) return;
    const double scale = gtk_widget_get_scale_factor(row.get());
    const double pixels = kRowIconSize * scale;
    const auto* rep = image.bestRepresentation({pixels, pixels}, scale);
    if (rep == nullptr) return;
    auto* state = RowState::of(row.get());
    if (state == nullptr || !state->mayChange()) return;
    const auto texture = makeTexture(rep->bitmap);
    if (!G_IS_ICON(texture.get())) return;
    // Known before the row notifies of it.
    state->given.reset(G_OBJECT(g_object_ref(texture.get())));
    g_object_set(row.get(), kIconProperty, texture.get(), nullptr);
  }

 private:
  const GWeak<GtkWidget> widget_;
};

}  // namespace

void Sidebars::sidebarRealized(GtkWidget* sidebar) {
  if (views_.contains(sidebar)) return;
  const auto redraw = redrawing(sidebar, [this](GtkWidget* shown) { presentRowsBelow(shown); });
  views_.emplace(sidebar, classes_.make(redraw));
  g_object_weak_ref(
      G_OBJECT(sidebar),
      +[](gpointer self, GObject* gone) noexcept {
        platform::catchAll([&] {
          static_cast<Sidebars*>(self)->views_.erase(reinterpret_cast<GtkWidget*>(gone));
        });
      },
      this);
  presentRowsBelow(sidebar);
}

void Sidebars::rowRealized(GtkWidget* row) {
  if (!isRow(row)) return;
  if (RowState::of(row) == nullptr) {
    RowState::attachTo(row);
    const auto changed = +[](GtkWidget* it, GParamSpec*, gpointer self) noexcept {
      platform::catchAll([&] { static_cast<Sidebars*>(self)->rowChanged(it); });
    };
    g_signal_connect(row, "notify::label", G_CALLBACK(changed), this);
    g_signal_connect(row, "notify::start-icon", G_CALLBACK(changed), this);
  }
  presentRow(row);
}

void Sidebars::rowChanged(GtkWidget* row) {
  auto* state = RowState::of(row);
  if (state == nullptr || state->isShownBy(row)) return;
  const bool outer = std::exchange(state->reacting, true);
  if (!outer) state->changed = false;
  const platform::ScopeExit done([state, outer] { state->reacting = outer; });
  presentRow(row);
}

// Setting a row's image emits a change of the row again; the flag prevents recursion.
void Sidebars::presentRow(GtkWidget* row) {
  const auto sidebar = sidebarAround(row);
  if (!sidebar || std::exchange(presenting_, true)) return;
  const platform::ScopeExit done([this] { presenting_ = false; });
  hosts::SidebarClasses::willDisplay(sidebar, std::make_shared<Row>(classes_.rows(), row));
}

void Sidebars::presentRowsBelow(GtkWidget* widget) {
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child))
    isRow(child) ? presentRow(child) : presentRowsBelow(child);
}

std::shared_ptr<SidebarView> Sidebars::sidebarAround(GtkWidget* row) const {
  for (GtkWidget* around = row; around != nullptr; around = gtk_widget_get_parent(around))
    if (const auto found = views_.find(around); found != views_.end()) return found->second;
  return nullptr;
}

std::vector<Id> Sidebars::sidebarsOf(GtkWidget* window) const {
  std::vector<Id> sidebars;
  for (const auto& [widget, view] : views_)
    if (GTK_WIDGET(gtk_widget_get_root(widget)) == window) sidebars.emplace_back(view);
  return sidebars;
}

}  // namespace wevora::nautilus
