#include "Hosts/Nautilus/Sidebars.h"

#include <optional>
#include <string>

#include "Hosts/Nautilus/HostWidgets.h"
#include "Hosts/Nautilus/NewClass.h"
#include "Hosts/Nautilus/Textures.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Support/Guard.h"

namespace wevora::nautilus {

using platform::Class;
using platform::Id;
using platform::ImageRef;
using platform::Implementation;
using platform::send;

namespace {

constexpr const char* kWillDisplay = "outlineView:willDisplayCell:forTableColumn:item:";
constexpr double kRowIconSize = 16;  // points

bool isRow(GtkWidget* widget) {
  return GTK_IS_LIST_BOX_ROW(widget) && hasProperty(widget, "start-icon");
}

}  // namespace

/// Threads, Owns, Errors: as View; owns its delegate too, and what the host made its delegate: a
/// proxy before that does not keep it. Redrawing it presents its rows again.
class Sidebars::Sidebar : public View {
 public:
  Sidebar(Class& isa, GtkWidget* widget, Sidebars& sidebars)
      : View(isa, widget), sidebars_(sidebars) {}
  Id delegate;
  Id ofTheHost;

 protected:
  void redraw(GtkWidget* shown) const override { sidebars_.presentRowsBelow(shown); }

 private:
  Sidebars& sidebars_;
};

/// A row, as both the cell and the item that the delegate is told of.
/// Threads: the main thread. Owns: nothing. Errors: does nothing once the row has gone.
class Sidebars::Row : public View {
 public:
  using View::View;

  std::optional<std::string> name() const { return textProperty(widget().get(), "label"); }
  void setImage(const Id& picture) const;
};

/// An image made for a sidebar: "NSSidebarImage".
/// Threads: the main thread. Owns: a share of the image. Errors: none.
class Sidebars::Picture : public platform::Object {
 public:
  using Object::Object;
  ImageRef image;
};

void Sidebars::Row::setImage(const Id& picture) const {
  const auto sidebarImage = std::dynamic_pointer_cast<Picture>(picture);
  const auto row = widget();
  if (!row || !sidebarImage || !sidebarImage->image) return;
  const double scale = gtk_widget_get_scale_factor(row.get());
  const double pixels = kRowIconSize * scale;
  const auto* rep = sidebarImage->image->bestRepresentation({pixels, pixels}, scale);
  if (rep == nullptr) return;
  const auto texture = makeTexture(rep->bitmap);
  if (G_IS_ICON(texture.get())) g_object_set(row.get(), "start-icon", texture.get(), nullptr);
}

Sidebars::Sidebars(platform::Runtime& runtime, Class& views) {
  registerViews(runtime, views);
  registerRows(runtime);
}

void Sidebars::registerViews(platform::Runtime& runtime, Class& views) {
  sidebars_ = newClass(runtime, "TSidebarView", &views);
  sidebars_->addMethod("delegate", Implementation::of<Id()>([](const Id& self) {
                         return static_cast<const Sidebar&>(*self).delegate;
                       }),
                       "@@:");
  sidebars_->addMethod(
      "setDelegate:", Implementation::of<void(Id)>([](const Id& self, const Id& delegate) {
        static_cast<Sidebar&>(*self).delegate = delegate;
      }),
      "v@:@");
  delegates_ = newClass(runtime, "TSidebarViewController");
  // GTK has prepared the row.
  delegates_->addMethod(kWillDisplay,
                        Implementation::of<void(Id, Id, Id, Id)>(
                            [](const Id&, const Id&, const Id&, const Id&, const Id&) {}),
                        "v@:@@@@");
}

void Sidebars::registerRows(platform::Runtime& runtime) {
  rows_ = newClass(runtime, "TSidebarItemCell");
  rows_->addMethod("name", Implementation::of<std::optional<std::string>()>([](const Id& self) {
                     return static_cast<const Row&>(*self).name();
                   }),
                   "@@:");
  rows_->addMethod("setImage:", Implementation::of<void(Id)>([](const Id& self, const Id& picture) {
                     static_cast<const Row&>(*self).setImage(picture);
                   }),
                   "v@:@");
  pictures_ = newClass(runtime, "NSSidebarImage");
  pictures_->addClassMethod("alloc", Implementation::of<Id()>([this](const Id&) -> Id {
                              return std::make_shared<Picture>(*pictures_);
                            }),
                            "@@:");
  pictures_->addMethod("initWithSourceImage:",
                       Implementation::of<Id(ImageRef)>([](const Id& self, const ImageRef& image) {
                         static_cast<Picture&>(*self).image = image;
                         return self;
                       }),
                       "@@:@");
}

void Sidebars::sidebarRealized(GtkWidget* sidebar) {
  auto& view = views_[sidebar];
  if (view) return;
  view = std::make_shared<Sidebar>(*sidebars_, sidebar, *this);
  g_object_weak_ref(
      G_OBJECT(sidebar),
      +[](gpointer self, GObject* gone) noexcept {
        platform::swallowing([&] {
          static_cast<Sidebars*>(self)->views_.erase(reinterpret_cast<GtkWidget*>(gone));
        });
      },
      this);
  view->ofTheHost = std::make_shared<platform::Object>(*delegates_);
  send<void>(Id(view), "setDelegate:", view->ofTheHost);
  presentRowsBelow(sidebar);
}

void Sidebars::rowRealized(GtkWidget* row) {
  static constexpr const char* kKey = "wevora-row-known";
  if (!isRow(row)) return;
  if (g_object_get_data(G_OBJECT(row), kKey) == nullptr) {
    g_object_set_data(G_OBJECT(row), kKey, this);
    const auto changed = +[](GtkWidget* it, GParamSpec*, gpointer self) noexcept {
      platform::swallowing([&] { static_cast<Sidebars*>(self)->presentRow(it); });
    };
    g_signal_connect(row, "notify::label", G_CALLBACK(changed), this);
    g_signal_connect(row, "notify::start-icon", G_CALLBACK(changed), this);
  }
  presentRow(row);
}

// Giving a row its image is itself a change of the row.
void Sidebars::presentRow(GtkWidget* row) {
  const Id sidebar = sidebarAround(row);
  if (!sidebar || std::exchange(presenting_, true)) return;
  const platform::ScopeExit done([this] { presenting_ = false; });
  const Id delegate = send<Id>(sidebar, "delegate");
  if (!delegate || !delegate->respondsToSelector(kWillDisplay)) return;
  const Id cell = std::make_shared<Row>(*rows_, row);
  send<void>(delegate, kWillDisplay, sidebar, cell, Id(), cell);
}

void Sidebars::presentRowsBelow(GtkWidget* widget) {
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child))
    isRow(child) ? presentRow(child) : presentRowsBelow(child);
}

Id Sidebars::sidebarAround(GtkWidget* row) const {
  for (GtkWidget* around = row; around != nullptr; around = gtk_widget_get_parent(around))
    if (const auto found = views_.find(around); found != views_.end()) return found->second;
  return nullptr;
}

std::vector<Id> Sidebars::sidebarsOf(GtkWidget* window) const {
  std::vector<Id> sidebars;
  for (const auto& [widget, view] : views_)
    if (GTK_WIDGET(gtk_widget_get_root(widget)) == window) sidebars.push_back(view);
  return sidebars;
}

}  // namespace wevora::nautilus
