#include "Platform/IPC/Variants.h"

#include <algorithm>
#include <string>
#include <utility>

#include "Platform/Base/Strings.h"

namespace wevora::platform {
namespace {

using std::string;

VariantPtr owned(GVariant* floating) {
  return VariantPtr(g_variant_ref_sink(floating));
}

std::optional<Value> integerOf(GVariant* variant) {
  switch (g_variant_classify(variant)) {
    case G_VARIANT_CLASS_BYTE:
      return Value(std::int64_t{g_variant_get_byte(variant)});
    case G_VARIANT_CLASS_INT16:
      return Value(std::int64_t{g_variant_get_int16(variant)});
    case G_VARIANT_CLASS_UINT16:
      return Value(std::int64_t{g_variant_get_uint16(variant)});
    case G_VARIANT_CLASS_INT32:
      return Value(std::int64_t{g_variant_get_int32(variant)});
    case G_VARIANT_CLASS_UINT32:
      return Value(std::int64_t{g_variant_get_uint32(variant)});
    case G_VARIANT_CLASS_INT64:
      return Value(std::int64_t{g_variant_get_int64(variant)});
    case G_VARIANT_CLASS_UINT64:
      return Value(std::uint64_t{g_variant_get_uint64(variant)});
    default:
      return std::nullopt;
  }
}

Data dataOf(GVariant* variant) {
  const VariantPtr bytes(g_variant_get_child_value(variant, 0));
  gsize size = 0;
  const auto* first =
      static_cast<const std::byte*>(g_variant_get_fixed_array(bytes.get(), &size, 1));
  return size == 0 ? Data() : Data(first, first + size);
}

string bytesOf(GVariant* variant) {
  gsize size = 0;
  const void* bytes = g_variant_get_fixed_array(variant, &size, 1);
  string text(static_cast<const char*>(bytes), size);
  if (!text.empty() && text.back() == '\0') text.pop_back();  // D-Bus byte strings end in a NUL
  return text;
}

Dictionary dictionaryOf(GVariant* variant) {
  Dictionary entries;
  GVariantIter iteration;
  g_variant_iter_init(&iteration, variant);
  while (const VariantPtr entry{g_variant_iter_next_value(&iteration)}) {
    const VariantPtr key(g_variant_get_child_value(entry.get(), 0));
    const VariantPtr held(g_variant_get_child_value(entry.get(), 1));
    if (auto value = valueOf(held.get()))
      entries.append(g_variant_get_string(key.get(), nullptr), std::move(*value));
  }
  return entries;
}

Array arrayOf(GVariant* variant) {
  Array values;
  GVariantIter iteration;
  values.reserve(g_variant_iter_init(&iteration, variant));
  while (const VariantPtr child{g_variant_iter_next_value(&iteration)})
    if (auto value = valueOf(child.get())) values.push_back(std::move(*value));
  return values;
}

VariantPtr arrayVariant(const Array& values) {
  const bool texts = std::ranges::all_of(values, [](const Value& value) {
    const auto* text = value.as<string>();
    return text != nullptr && isUtf8(*text);
  });
  GVariantBuilder builder;
  g_variant_builder_init(&builder, texts ? G_VARIANT_TYPE_STRING_ARRAY : G_VARIANT_TYPE("av"));
  for (const auto& value : values) {
    const auto child = variantOf(value);
    if (texts)
      g_variant_builder_add_value(&builder, child.get());
    else if (child)
      g_variant_builder_add(&builder, "v", child.get());
  }
  return owned(g_variant_builder_end(&builder));
}

VariantPtr bytesVariant(const void* bytes, std::size_t size) {
  return owned(g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes, size, 1));
}

VariantPtr textVariant(const string& text) {
  if (isUtf8(text)) return owned(g_variant_new_string(text.c_str()));
  return bytesVariant(text.c_str(), text.size() + 1);
}

/// An array of type as; null if a member is not a UTF-8 text.
VariantPtr textsVariant(const Value& value) {
  const auto* values = value.as<Array>();
  if (values == nullptr) return nullptr;
  auto variant = arrayVariant(*values);
  return g_variant_is_of_type(variant.get(), G_VARIANT_TYPE_STRING_ARRAY) ? std::move(variant)
                                                                          : nullptr;
}

VariantPtr childrenVariant(const Value& value, std::string_view childSignature,
                           const GVariantType* type) {
  const auto* values = value.as<Array>();
  if (values == nullptr) return nullptr;
  GVariantBuilder builder;
  g_variant_builder_init(&builder, type);
  for (const auto& child : *values) {
    const auto variant = variantOf(child, childSignature);
    if (!variant) {
      g_variant_builder_clear(&builder);
      return nullptr;
    }
    g_variant_builder_add_value(&builder, variant.get());
  }
  return owned(g_variant_builder_end(&builder));
}

}  // namespace

std::optional<Value> valueOf(GVariant* variant) {
  if (variant == nullptr) return std::nullopt;
  if (g_variant_is_of_type(variant, G_VARIANT_TYPE_VARIANT)) {
    const VariantPtr inner(g_variant_get_variant(variant));
    return valueOf(inner.get());
  }
  if (g_variant_is_of_type(variant, G_VARIANT_TYPE_BOOLEAN))
    return Value(g_variant_get_boolean(variant) != FALSE);
  if (g_variant_is_of_type(variant, G_VARIANT_TYPE_DOUBLE))
    return Value(g_variant_get_double(variant));
  if (g_variant_is_of_type(variant, G_VARIANT_TYPE_STRING) ||
      g_variant_is_of_type(variant, G_VARIANT_TYPE_OBJECT_PATH) ||
      g_variant_is_of_type(variant, G_VARIANT_TYPE_SIGNATURE))
    return Value(g_variant_get_string(variant, nullptr));
  if (g_variant_is_of_type(variant, G_VARIANT_TYPE_BYTESTRING)) return Value(bytesOf(variant));
  if (g_variant_is_of_type(variant, G_VARIANT_TYPE("(ay)"))) return Value(dataOf(variant));
  if (g_variant_is_of_type(variant, G_VARIANT_TYPE("a{s*}"))) return Value(dictionaryOf(variant));
  if (g_variant_is_of_type(variant, G_VARIANT_TYPE_ARRAY)) return Value(arrayOf(variant));
  return integerOf(variant);
}

VariantPtr variantOf(const Dictionary& entries) {
  GVariantBuilder builder;
  g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
  for (const auto& [key, value] : entries)
    if (const auto held = isUtf8(key) ? variantOf(value) : nullptr)
      g_variant_builder_add(&builder, "{sv}", key.c_str(), held.get());
  return owned(g_variant_builder_end(&builder));
}

VariantPtr variantOf(const Value& value) {
  struct {
    VariantPtr operator()(bool flag) { return owned(g_variant_new_boolean(flag ? TRUE : FALSE)); }
    VariantPtr operator()(std::int64_t number) { return owned(g_variant_new_int64(number)); }
    VariantPtr operator()(std::uint64_t number) { return owned(g_variant_new_uint64(number)); }
    VariantPtr operator()(double number) { return owned(g_variant_new_double(number)); }
    VariantPtr operator()(const string& text) { return textVariant(text); }
    VariantPtr operator()(const Date& date) {
      return owned(g_variant_new_double(date.secondsSince1970));
    }
    VariantPtr operator()(const Data& data) {
      const auto bytes = bytesVariant(data.data(), data.size());
      GVariant* child = bytes.get();
      return owned(g_variant_new_tuple(&child, 1));
    }
    VariantPtr operator()(const Opaque&) { return nullptr; }
    VariantPtr operator()(const Array& values) { return arrayVariant(values); }
    VariantPtr operator()(const Dictionary& entries) { return variantOf(entries); }
  } made;
  return value.visit(made);
}

VariantPtr variantOf(const Value& value, std::string_view signature) {
  if (signature == "b") return owned(g_variant_new_boolean(value.boolValue() ? TRUE : FALSE));
  if (signature == "i")
    return owned(g_variant_new_int32(static_cast<gint32>(
        std::clamp<std::int64_t>(value.longLongValue(), G_MININT32, G_MAXINT32))));
  if (signature == "t") return owned(g_variant_new_uint64(value.unsignedLongLongValue()));
  if (signature == "as") return textsVariant(value);
  if (signature == "av") {
    const auto* values = value.as<Array>();
    if (values == nullptr) return nullptr;
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("av"));
    for (const auto& child : *values)
      if (const auto held = variantOf(child)) g_variant_builder_add(&builder, "v", held.get());
    return owned(g_variant_builder_end(&builder));
  }
  if (signature == "aa{sv}") return childrenVariant(value, "a{sv}", G_VARIANT_TYPE("aa{sv}"));
  auto variant = variantOf(value);
  const string wanted(signature);
  if (!variant || g_variant_type_string_is_valid(wanted.c_str()) == FALSE) return nullptr;
  return g_variant_is_of_type(variant.get(), G_VARIANT_TYPE(wanted.c_str())) ? std::move(variant)
                                                                             : nullptr;
}

}  // namespace wevora::platform
