#pragma once

#include <gtk/gtk.h>
#include <memory>
#include <vector>

#include "Hosts/Nautilus/GObjectPtr.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::nautilus {

/// A widget of the host as a view: `setNeedsDisplay:` draws it again. A widget has one view,
/// whatever it shows.
/// Threads: the main thread. Owns: nothing of the host. Errors: does nothing once the widget has
/// gone.
class View : public platform::Object {
 public:
  /// Registers "NSView".
  static std::shared_ptr<platform::Class> registerIn(platform::Runtime& runtime);

  View(platform::Class& isa, GtkWidget* widget) : Object(isa), widget_(widget) {}

  GObjectPtr<GtkWidget> widget() const { return widget_.get(); }
  // -subviews
  virtual std::vector<platform::Id> subviews() const { return {}; }
  // -setNeedsDisplay:
  void setNeedsDisplay(bool needed) const;

 protected:
  virtual void redraw(GtkWidget* shown) const { gtk_widget_queue_draw(shown); }

 private:
  const GWeak<GtkWidget> widget_;
};

}  // namespace wevora::nautilus
