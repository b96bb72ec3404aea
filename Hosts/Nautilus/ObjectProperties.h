#pragma once

#include <optional>
#include <string>

#include <glib-object.h>

#include "Platform/Base/GObjectPtr.h"

namespace wevora::nautilus {

using platform::GObjectPtr;
using platform::GText;

/// A weak reference to a GObject.
template <class T>
class GWeak {
 public:
  explicit GWeak(T* object) { g_weak_ref_init(&reference_, object); }
  ~GWeak() { g_weak_ref_clear(&reference_); }
  GWeak(const GWeak&) = delete;
  GWeak& operator=(const GWeak&) = delete;

  /// Null after the object was destroyed.
  GObjectPtr<T> get() const { return GObjectPtr<T>(static_cast<T*>(g_weak_ref_get(&reference_))); }
  void set(T* object) { g_weak_ref_set(&reference_, object); }

 private:
  mutable GWeakRef reference_{};
};

inline bool hasProperty(gpointer object, const char* name) {
  return g_object_class_find_property(G_OBJECT_GET_CLASS(object), name) != nullptr;
}

/// The value of an object's property; null if the object or the property does not exist.
template <class T = GObject>
GObjectPtr<T> objectProperty(gpointer object, const char* name) {
  T* value = nullptr;
  if (object != nullptr && hasProperty(object, name)) g_object_get(object, name, &value, nullptr);
  return GObjectPtr<T>(value);
}

/// The value of a text property; nullopt if the object or the property does not exist.
inline std::optional<std::string> textProperty(gpointer object, const char* name) {
  char* value = nullptr;
  if (object != nullptr && hasProperty(object, name)) g_object_get(object, name, &value, nullptr);
  const GText text(value);
  return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

}  // namespace wevora::nautilus
