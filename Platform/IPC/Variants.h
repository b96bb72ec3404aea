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

/// Converts a received D-Bus value. All integers become 64 bits wide. A byte string (ay) becomes a
/// text, because texts that are not UTF-8 are sent that way; (ay) becomes data. Returns nullopt for
/// a type without a counterpart; containers omit such members. D-Bus limits the nesting depth.
std::optional<Value> valueOf(GVariant* variant);

/// Converts a value to D-Bus with its natural type: b, x, d, s, as, av, a{sv}, and t for integers
/// that exceed x. A date is a double of seconds since 1970, a text that is not UTF-8 is ay with a
/// final NUL, data is (ay). Returns null for a value without a counterpart; containers omit such
/// members. The result is not floating.
VariantPtr variantOf(const Value& value);
VariantPtr variantOf(const Dictionary& entries);

/// Converts a value to the type of a signature (a basic type, "as", "av", "a{sv}" or "aa{sv}").
/// Returns null if the value cannot have that type.
VariantPtr variantOf(const Value& value, std::string_view signature);

}  // namespace wevora::platform
