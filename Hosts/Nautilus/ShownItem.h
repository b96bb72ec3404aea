#pragma once

#include <functional>
#include <gtk/gtk.h>
#include <optional>
#include <string>

#include "Hosts/Nautilus/ObjectProperties.h"

namespace wevora::nautilus {

/// The item that a cell's widget shows. Its URI is read once, and again when the host tells that
/// the file has changed: a widget's item may be renamed without being replaced.
/// Threads: the main thread. Owns: nothing of the host. Errors: a widget that shows nothing, or
/// nothing of this kind, has no URI.
class ShownItem {
 public:
  /// `moved` is called when the item that is shown has another URI than it had.
  ShownItem(GObject* widget, std::function<void()> moved)
      : widget_(widget), moved_(std::move(moved)) {}
  ~ShownItem() { forget(); }
  ShownItem(const ShownItem&) = delete;
  ShownItem& operator=(const ShownItem&) = delete;

  const std::optional<std::string>& uri();
  /// The widget is taken for another item.
  void forget();

 private:
  void watch(GObject* file);
  void fileChanged();

  GObject* const widget_;  // owns this
  const std::function<void()> moved_;
  std::optional<std::string> uri_;
  GWeak<GObject> file_{nullptr};
  gulong handler_ = 0;  // 0: the host's files tell nothing, and are asked each time
};

}  // namespace wevora::nautilus
