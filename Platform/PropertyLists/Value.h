#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "Platform/Base/Date.h"

namespace wevora::platform {

class Value;
using Array = std::vector<Value>;
using Data = std::vector<std::byte>;

/// A value without a type of its own here, such as a null or a set in a binary property list, or an
/// integer of more than 64 bits. It keeps its place among other values and cannot be written.
struct Opaque {
  friend bool operator==(const Opaque&, const Opaque&) = default;
};

/// Values under string keys, in the order in which the keys were first set.
class Dictionary {
 public:
  using Entry = std::pair<std::string, Value>;

  Dictionary();
  Dictionary(std::initializer_list<Entry> entries);
  ~Dictionary();
  Dictionary(const Dictionary&);
  Dictionary(Dictionary&&) noexcept;
  Dictionary& operator=(const Dictionary&);
  Dictionary& operator=(Dictionary&&) noexcept;

  /// Replaces the key's value, or appends the entry.
  void set(std::string_view key, Value value);
  /// Appends the entry without a search; of two entries with one key, find() returns the first.
  void append(std::string key, Value value);
  const Value* find(std::string_view key) const;
  Value* find(std::string_view key);

  std::size_t size() const noexcept;
  bool empty() const noexcept { return size() == 0; }
  std::vector<Entry>::const_iterator begin() const;
  std::vector<Entry>::const_iterator end() const;

 private:
  std::vector<Entry> entries_;
};

/// Equal where the same keys have equal values, in any order.
bool operator==(const Dictionary& a, const Dictionary& b);

/// A value of property lists, archives and notifications. Conversions to a type that it does not
/// have return null, NO or 0.
class Value {
 public:
  Value(bool value) : held_(value) {}
  Value(std::int64_t value) : held_(value) {}
  /// Stored as a signed number where it fits.
  Value(std::uint64_t value);
  Value(double value) : held_(value) {}
  Value(std::string value) : held_(std::move(value)) {}
  Value(const char* value) : held_(std::string(value)) {}
  Value(Date value) : held_(value) {}
  Value(Data value) : held_(std::move(value)) {}
  Value(Opaque value) : held_(value) {}
  Value(Array value) : held_(std::move(value)) {}
  Value(Dictionary value) : held_(std::move(value)) {}

  /// The value as one of the types above, or null.
  template <class T>
  const T* as() const noexcept {
    return std::get_if<T>(&held_);
  }
  template <class T>
  T* as() noexcept {
    return std::get_if<T>(&held_);
  }

  /// YES for a number other than 0 and for a text that begins, after blanks, a sign and zeros,
  /// with one of "YyTt1-9".
  bool boolValue() const;
  /// A number without its fraction, or the leading decimal integer of a text; bounded by the type.
  std::int64_t longLongValue() const;
  /// The same, at least 0.
  std::uint64_t unsignedLongLongValue() const;

  template <class Visitor>
  decltype(auto) visit(Visitor&& visitor) const {
    return std::visit(std::forward<Visitor>(visitor), held_);
  }

  friend bool operator==(const Value& a, const Value& b);

 private:
  std::variant<bool, std::int64_t, std::uint64_t, double, std::string, Date, Data, Opaque, Array,
               Dictionary>
      held_;
};

/// The value of a key as the type T; null where it is missing or has another type.
template <class T>
const T* valueAs(const Dictionary& dictionary, std::string_view key) {
  const Value* value = dictionary.find(key);
  return value == nullptr ? nullptr : value->as<T>();
}

/// The texts of an array, in their order; other values are skipped. Empty for any other type.
std::vector<std::string> textsIn(const Value& array);
/// The same for the array under a key.
std::vector<std::string> textsIn(const Dictionary& dictionary, std::string_view key);

}  // namespace wevora::platform
