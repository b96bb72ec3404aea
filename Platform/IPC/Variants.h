#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include <glib.h>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

struct VariantUnref {
  void operator()(GVariant* variant) const noexcept { g_variant_unref(variant); }
};
using VariantPtr = std::unique_ptr<GVariant, VariantUnref>;

/// A value that came over the bus. Every integer is 64 bits wide here; bytes are a text, which
/// is how one travels that is not UTF-8, but for those that are data. What has no counterpart is
/// none, and is left out of the array or dictionary around it. Depth is bounded by the bus.
std::optional<Value> valueOf(GVariant* variant);

/// A value as the bus carries it, with the type that it has by itself: b, x, d, s, as, av, a{sv},
/// and t where x is too narrow; a date is a double of seconds since 1970, a text that is not UTF-8
/// is ay and ends in a NUL, data is (ay). Null for what has no counterpart there, which is left out
/// as above. Not floating.
VariantPtr variantOf(const Value& value);
VariantPtr variantOf(const Dictionary& entries);

/// The same with the type that a signature asks for (a basic type, "as", "av", "a{sv}",
/// "aa{sv}"); null where the value cannot be of that type.
VariantPtr variantOf(const Value& value, std::string_view signature);

}  // namespace wevora::platform
