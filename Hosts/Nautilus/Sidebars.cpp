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

bool isRow(GtkWidget* widget) {
  return GTK_IS_LIST_BOX_ROW(widget) && hasProperty(widget, "start-icon");
}

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
    const auto texture = makeTexture(rep->bitmap);
    if (G_IS_ICON(texture.get())) g_object_set(row.get(), "start-icon", texture.get(), nullptr);
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
  static constexpr const char* kKey = "wevora-row-known";
  if (!isRow(row)) return;
  if (g_object_get_data(G_OBJECT(row), kKey) == nullptr) {
    g_object_set_data(G_OBJECT(row), kKey, this);
    const auto changed = +[](GtkWidget* it, GParamSpec*, gpointer self) noexcept {
      platform::catchAll([&] { static_cast<Sidebars*>(self)->presentRow(it); });
    };
    g_signal_connect(row, "notify::label", G_CALLBACK(changed), this);
    g_signal_connect(row, "notify::start-icon", G_CALLBACK(changed), this);
  }
  presentRow(row);
}

// Setting a row's image emits a change of the row again, so the flag prevents recursion.
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
