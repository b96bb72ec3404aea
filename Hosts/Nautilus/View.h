#pragma once

#include <functional>
#include <gtk/gtk.h>
#include <memory>
#include <utility>
#include <vector>

#include "Hosts/Nautilus/GObjectPtr.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::nautilus {

/// A widget of the host as a view: `setNeedsDisplay:` draws it again. The widget may go away, or be
/// taken for something else; the view then does nothing.
/// Threads: the main thread. Owns: nothing of the host. Errors: none.
class View : public platform::Object {
 public:
  using Redraw = std::function<void(GtkWidget*)>;

  /// Registers "NSView".
  static std::shared_ptr<platform::Class> registerIn(platform::Runtime& runtime);

  View(platform::Class& isa, GtkWidget* widget, Redraw redraw = gtk_widget_queue_draw)
      : Object(isa), widget_(widget), redraw_(std::move(redraw)) {}

  GObjectPtr<GtkWidget> widget() const { return widget_.get(); }
  void forgetWidget() { widget_.clear(); }
  // -subviews
  virtual std::vector<platform::Id> subviews() const { return {}; }
  // -setNeedsDisplay:
  void setNeedsDisplay(bool needed) const;

 private:
  GWeak<GtkWidget> widget_;
  const Redraw redraw_;
};

}  // namespace wevora::nautilus
