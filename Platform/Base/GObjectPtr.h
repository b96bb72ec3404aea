#pragma once

#include <memory>

#include <glib-object.h>

namespace wevora::platform {

struct GObjectUnref {
  void operator()(gpointer object) const noexcept { g_object_unref(object); }
};
/// Owns one reference to a GObject.
template <class T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct GFree {
  void operator()(gpointer memory) const noexcept { g_free(memory); }
};
/// A string that GLib allocated.
using GText = std::unique_ptr<char, GFree>;

}  // namespace wevora::platform
