#pragma once

#include <functional>
#include <gtk/gtk.h>
#include <optional>
#include <string>

#include "Hosts/Nautilus/ObjectProperties.h"

namespace wevora::nautilus {

/// The item that a cell widget shows. Its URI is cached until the file's "changed" signal, because
/// a file may be renamed while the widget's item stays the same object. Thread-safety: main thread
/// only. Ownership: holds weak references to the host's objects.
class ShownItem {
 public:
  /// `moved` is called when the shown item's URI has changed.
  ShownItem(GObject* widget, std::function<void()> moved)
      : widget_(widget), moved_(std::move(moved)) {}
  ~ShownItem() { forget(); }
  ShownItem(const ShownItem&) = delete;
  ShownItem& operator=(const ShownItem&) = delete;

  /// nullopt if the widget shows no item, or an item that is not a file.
  const std::optional<std::string>& uri();
  /// Drops the cached URI: the widget is recycled for another item.
  void forget();

 private:
  void watch(GObject* file);
  void fileChanged();

  GObject* const widget_;  // owns this
  const std::function<void()> moved_;
  std::optional<std::string> uri_;
  GWeak<GObject> file_{nullptr};
  gulong handler_ = 0;  // 0 if the file has no "changed" signal; its URI is then not cached
};

}  // namespace wevora::nautilus
