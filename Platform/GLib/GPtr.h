#pragma once

#include <memory>

#include <glib-object.h>

namespace wevora::platform {

struct GObjectUnref {
  void operator()(gpointer object) const noexcept { g_object_unref(object); }
};
/// One reference to an object of GLib's.
template <class T>
using GPtr = std::unique_ptr<T, GObjectUnref>;

}  // namespace wevora::platform
