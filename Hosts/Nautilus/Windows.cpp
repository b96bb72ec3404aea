#include "Hosts/Nautilus/Windows.h"

#include "Hosts/Nautilus/HostClasses.h"
#include "Hosts/Nautilus/NewClass.h"

namespace wevora::nautilus {
namespace {

using platform::Class;
using platform::Id;
using platform::Implementation;

/// What stands for a window: the window itself, its controller, its browser.
/// Threads: the main thread. Owns: nothing. Errors: null once the window has gone.
class WindowObject : public platform::Object {
 public:
  WindowObject(Class& isa, GtkWidget* window) : Object(isa), window_(window) {}
  GObjectPtr<GtkWidget> window() const { return window_.get(); }

 private:
  const GWeak<GtkWidget> window_;
};

GObjectPtr<GtkWidget> windowOf(const Id& self) {
  return static_cast<const WindowObject&>(*self).window();
}

/// A view that has nothing but subviews.
/// Threads: the main thread. Owns: shares of the subviews. Errors: none.
class Container : public View {
 public:
  Container(Class& isa, std::vector<Id> subviews)
      : View(isa, nullptr), subviews_(std::move(subviews)) {}
  std::vector<Id> subviews() const override { return subviews_; }

 private:
  const std::vector<Id> subviews_;
};

/// A window's cells: redrawing them draws all of them again.
/// Threads: the main thread. Owns: nothing. Errors: as View.
class BrowserView : public View {
 public:
  BrowserView(Class& isa, GtkWidget* window, const Cells& cells)
      : View(isa, window), cells_(cells) {}

 protected:
  void redraw(GtkWidget* shown) const override { cells_.redrawAllIn(shown); }

 private:
  const Cells& cells_;
};

/// In the order in which they were opened.
std::vector<GtkWidget*> hostWindows() {
  std::vector<GtkWidget*> windows;
  GListModel* all = gtk_window_get_toplevels();
  for (guint i = 0; i < g_list_model_get_n_items(all); ++i) {
    const GObjectPtr<GtkWidget> window(static_cast<GtkWidget*>(g_list_model_get_item(all, i)));
    if (roleOf(G_OBJECT_TYPE_NAME(window.get())) == Role::Window) windows.push_back(window.get());
  }
  return windows;
}

/// Given to a window when it is first asked for.
std::int64_t numberOf(GtkWidget* window) {
  static constexpr const char* kKey = "wevora-window-number";
  static gint latest = 0;
  gpointer number = g_object_get_data(G_OBJECT(window), kKey);
  if (number == nullptr) {
    number = GINT_TO_POINTER(++latest);
    g_object_set_data(G_OBJECT(window), kKey, number);
  }
  return GPOINTER_TO_INT(number);
}

}  // namespace

Windows::Windows(platform::Runtime& runtime, const Cells& cells, Class& views,
                 SidebarsOf sidebarsOf)
    : cells_(cells), views_(views), sidebarsOf_(std::move(sidebarsOf)) {
  registerWindows(runtime);
  registerControllers(runtime);
  registerBrowsers(runtime);
}

void Windows::registerWindows(platform::Runtime& runtime) {
  const auto application = newClass(runtime, "NSApplication");
  application->addClassMethod(
      "sharedApplication", Implementation::of<Id()>([](const Id& self) {
        return std::make_shared<platform::Object>(static_cast<Class&>(*self));
      }),
      "@@:");
  application->addMethod("windowWithWindowNumber:",
                         Implementation::of<Id(std::int64_t)>([this](const Id&, std::int64_t n) {
                           for (GtkWidget* window : hostWindows())
                             if (numberOf(window) == n)
                               return Id(std::make_shared<WindowObject>(*windows_, window));
                           return Id();
                         }),
                         "@@:q");

  windows_ = newClass(runtime, "NSWindow");
  windows_->addClassMethod(
      "windowNumbersWithOptions:",
      Implementation::of<std::vector<std::int64_t>(std::uint64_t)>([](const Id&, std::uint64_t) {
        std::vector<std::int64_t> numbers;
        for (GtkWidget* window : hostWindows()) numbers.push_back(numberOf(window));
        return numbers;
      }),
      "@@:Q");
  windows_->addMethod("windowController", Implementation::of<Id()>([this](const Id& self) {
                        return controllerOf(windowOf(self).get());
                      }),
                      "@@:");
}

void Windows::registerControllers(platform::Runtime& runtime) {
  controllers_ =
      newClass(runtime, "TBrowserWindowController", newClass(runtime, "NSWindowController").get());
  controllers_->addClassMethod(
      "controllerWithID:", Implementation::of<Id(std::int64_t)>([this](const Id&, std::int64_t id) {
        const auto windows = hostWindows();
        if (id < 1 || static_cast<std::size_t>(id) > windows.size()) return Id();
        return controllerOf(windows[static_cast<std::size_t>(id) - 1]);
      }),
      "@@:q");
  controllers_->addMethod(
      "browserViewController", Implementation::of<Id()>([this](const Id& self) {
        return Id(std::make_shared<WindowObject>(*browsers_, windowOf(self).get()));
      }),
      "@@:");
  controllers_->addMethod("sidebarViewContainer", Implementation::of<Id()>([this](const Id& self) {
                            return containerOf(sidebarsOf_(windowOf(self).get()));
                          }),
                          "@@:");
  controllers_->addMethod("browserViewContainer", Implementation::of<Id()>([this](const Id& self) {
                            return containerOf({browserViewOf(windowOf(self).get())});
                          }),
                          "@@:");
}

void Windows::registerBrowsers(platform::Runtime& runtime) {
  browsers_ = newClass(runtime, "TBrowserViewController");
  browsers_->addMethod("browserView", Implementation::of<Id()>([this](const Id& self) {
                         return browserViewOf(windowOf(self).get());
                       }),
                       "@@:");
  browsers_->addMethod("itemCount", Implementation::of<std::uint64_t()>([this](const Id& self) {
                         return std::uint64_t{cells_.visibleIn(windowOf(self).get()).size()};
                       }),
                       "Q@:");
  browsers_->addMethod(
      "getVisibleNodes:",
      Implementation::of<void(TFENodeVector*)>([this](const Id& self, TFENodeVector* nodes) {
        for (const auto& cell : cells_.visibleIn(windowOf(self).get()))
          nodes->push_back(*cell->node()->reference());
      }),
      "v@:^v");
  browsers_->addMethod(
      "getCellForNode:", Implementation::of<Id(TFENode)>([this](const Id& self, TFENode node) {
        return Id(cells_.visibleCellOf(node, windowOf(self).get()));
      }),
      "@@:^v");
}

Id Windows::controllerOf(GtkWidget* window) const {
  return std::make_shared<WindowObject>(*controllers_, window);
}

Id Windows::browserViewOf(GtkWidget* window) const {
  return std::make_shared<BrowserView>(views_, window, cells_);
}

Id Windows::containerOf(std::vector<Id> subviews) const {
  return std::make_shared<Container>(views_, std::move(subviews));
}

}  // namespace wevora::nautilus
