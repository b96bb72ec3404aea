#include "Platform/PropertyLists/BinaryList.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace wevora::platform {
namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTrailerSize = 32;
constexpr std::size_t kLargestNumber = 8;
/// Dates count from 2001-01-01.
constexpr double kListEpoch = 978307200;

/// The upper half of an object's first byte.
enum Marker : unsigned {
  simple = 0,
  integer = 1,
  real = 2,
  date = 3,
  data = 4,
  ascii = 5,
  utf16 = 6,
  uid = 8,
  array = 10,
  orderedSet = 11,
  set = 12,
  dictionary = 13
};

bool isHighSurrogate(std::uint32_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(std::uint32_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

void appendUtf8(std::string& text, std::uint32_t code) {
  const auto tail = [&](unsigned shift) {
    text += static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
  };
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0U | code >> 6U);
    tail(0);
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0U | code >> 12U);
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0U | code >> 18U);
    tail(12);
    tail(6);
    tail(0);
  }
}

/// Unfolds a list, and stops at the first bound or broken value.
/// Threads: one. Owns: nothing. Errors: none stands for a bound or a list that is not whole.
class Reader {
 public:
  Reader(const BinaryListBounds& bounds, std::span<const char> list) : left_(bounds), list_(list) {}

  std::optional<Value> run() {
    if (list_.size() < kHeaderSize + kTrailerSize) return std::nullopt;
    const std::size_t trailer = list_.size() - kTrailerSize;
    offsetSize_ = static_cast<unsigned char>(list_[trailer + 6]);
    referenceSize_ = static_cast<unsigned char>(list_[trailer + 7]);
    const auto top = number(trailer + 16, 8);
    const auto table = number(trailer + 24, 8);
    if (!top || !table) return std::nullopt;
    table_ = *table;
    return valueOf(*top, 0);
  }

 private:
  /// Where an object begins, and the halves of its first byte.
  struct Object {
    std::uint64_t place;
    unsigned marker;
    unsigned low;
  };
  /// A count of things and where they begin.
  struct Extent {
    std::uint64_t count;
    std::uint64_t place;
  };

  std::optional<std::uint64_t> number(std::uint64_t place, std::size_t size) const {
    if (size == 0 || size > kLargestNumber || !isInside(place, size)) return std::nullopt;
    std::uint64_t result = 0;
    for (const char byte : list_.subspan(place, size))
      result = result << 8U | static_cast<unsigned char>(byte);
    return result;
  }

  bool isInside(std::uint64_t place, std::uint64_t size) const {
    return place <= list_.size() && size <= list_.size() - place;
  }

  std::optional<Object> objectAt(std::uint64_t index) const {
    if (index >= list_.size() || table_ >= list_.size()) return std::nullopt;
    const auto place = number(table_ + index * offsetSize_, offsetSize_);
    const auto first = place ? number(*place, 1) : std::nullopt;
    if (!first) return std::nullopt;
    return Object{*place, static_cast<unsigned>(*first >> 4U), static_cast<unsigned>(*first & 15U)};
  }

  /// The count in an object's first byte, or in the integer that follows a full one.
  std::optional<Extent> extentOf(const Object& object) const {
    if (object.low != 15) return Extent{object.low, object.place + 1};
    const auto next = number(object.place + 1, 1);
    if (!next || *next >> 4U != Marker::integer) return std::nullopt;
    const std::size_t size = std::size_t{1} << (*next & 15U);
    const auto count = number(object.place + 2, size);
    if (!count) return std::nullopt;
    return Extent{*count, object.place + 2 + size};
  }

  std::optional<Value> valueOf(std::uint64_t index, int depth) {
    if (left_.values == 0 || depth > left_.depth) return std::nullopt;
    --left_.values;
    const auto object = objectAt(index);
    if (!object) return std::nullopt;
    switch (object->marker) {
      case Marker::simple:
        return simpleOf(*object);
      case Marker::integer:
        return integerOf(*object);
      case Marker::real:
        return realOf(*object);
      case Marker::date:
        return dateOf(*object);
      case Marker::data:
        return dataOf(*object);
      case Marker::ascii:
      case Marker::utf16:
        return textOf(*object);
      case Marker::uid:
        return uidOf(*object);
      case Marker::array:
        return arrayOf(*object, depth);
      case Marker::orderedSet:
      case Marker::set:
        return Value(Opaque());
      case Marker::dictionary:
        return dictionaryOf(*object, depth);
      default:
        return std::nullopt;
    }
  }

  static std::optional<Value> simpleOf(const Object& object) {
    constexpr unsigned kNull = 0;
    constexpr unsigned kFalse = 8;
    constexpr unsigned kTrue = 9;
    if (object.low == kNull) return Value(Opaque());
    if (object.low == kFalse || object.low == kTrue) return Value(object.low == kTrue);
    return std::nullopt;
  }

  /// One of eight bytes has a sign, and so has one of sixteen.
  std::optional<Value> integerOf(const Object& object) const {
    constexpr auto kNegative = std::numeric_limits<std::uint64_t>::max();
    if (object.low > 4) return std::nullopt;
    const std::size_t size = std::size_t{1} << object.low;
    if (size <= kLargestNumber) {
      const auto bits = number(object.place + 1, size);
      if (!bits) return std::nullopt;
      return Value(static_cast<std::int64_t>(*bits));
    }
    const auto high = number(object.place + 1, 8);
    const auto low = number(object.place + 9, 8);
    if (!high || !low) return std::nullopt;
    if (*high == 0) return Value(*low);
    const auto number = static_cast<std::int64_t>(*low);
    // Not one expression: gcc takes what it did not choose for uninitialized.
    if (*high == kNegative && number < 0) return Value(number);
    return Value(Opaque());
  }

  std::optional<Value> realOf(const Object& object) const {
    if (object.low != 2 && object.low != 3) return std::nullopt;
    const auto bits = number(object.place + 1, std::size_t{1} << object.low);
    if (!bits) return std::nullopt;
    if (object.low == 3) return Value(std::bit_cast<double>(*bits));
    return Value(double{std::bit_cast<float>(static_cast<std::uint32_t>(*bits))});
  }

  std::optional<Value> dateOf(const Object& object) const {
    const auto bits = object.low == 3 ? number(object.place + 1, 8) : std::nullopt;
    if (!bits) return std::nullopt;
    return Value(Date{kListEpoch + std::bit_cast<double>(*bits)});
  }

  /// As XML has it.
  std::optional<Value> uidOf(const Object& object) const {
    const std::size_t size = object.low + 1;
    if (!isInside(object.place + 1, size)) return std::nullopt;
    const auto id = number(object.place + 1, size);
    return id ? Value(Dictionary{{"CF$UID", Value(*id)}}) : Value(Opaque());
  }

  /// The extent of bytes or texts, which are counted.
  std::optional<Extent> weighed(const Object& object, std::size_t unit) {
    const auto extent = extentOf(object);
    if (!extent || extent->count > left_.bytes / unit) return std::nullopt;
    if (!isInside(extent->place, extent->count * unit)) return std::nullopt;
    left_.bytes -= extent->count * unit;
    return extent;
  }

  std::optional<Value> dataOf(const Object& object) {
    const auto extent = weighed(object, 1);
    if (!extent) return std::nullopt;
    const auto bytes = std::as_bytes(list_.subspan(extent->place, extent->count));
    return Value(Data(bytes.begin(), bytes.end()));
  }

  std::optional<std::string> textOf(const Object& object) {
    const bool wide = object.marker == Marker::utf16;
    const auto extent = weighed(object, wide ? 2 : 1);
    if (!extent) return std::nullopt;
    const auto bytes = list_.subspan(extent->place, extent->count * (wide ? 2 : 1));
    return wide ? fromUtf16(bytes) : std::string(bytes.begin(), bytes.end());
  }

  static std::string fromUtf16(std::span<const char> bytes) {
    const auto unitAt = [&](std::size_t place) -> std::uint32_t {
      if (place >= bytes.size()) return 0;
      return static_cast<unsigned>(static_cast<unsigned char>(bytes[place])) << 8U |
             static_cast<unsigned char>(bytes[place + 1]);
    };
    std::string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t place = 0; place < bytes.size(); place += 2) {
      std::uint32_t code = unitAt(place);
      if (const auto next = unitAt(place + 2); isHighSurrogate(code) && isLowSurrogate(next)) {
        code = 0x10000 + ((code - 0xD800) << 10U) + (next - 0xDC00);
        place += 2;
      }
      appendUtf8(text, code);
    }
    return text;
  }

  /// What a container refers to at a place.
  std::optional<std::uint64_t> referenceAt(const Extent& extent, std::uint64_t i) const {
    return number(extent.place + i * referenceSize_, referenceSize_);
  }

  std::optional<Extent> counted(const Object& object) const {
    const auto extent = extentOf(object);
    return extent && extent->count <= left_.values ? extent : std::nullopt;
  }

  std::optional<Value> arrayOf(const Object& object, int depth) {
    const auto extent = counted(object);
    if (!extent) return std::nullopt;
    Array values;
    for (std::uint64_t i = 0; i < extent->count; ++i) {
      const auto index = referenceAt(*extent, i);
      auto value = index ? valueOf(*index, depth + 1) : std::nullopt;
      if (!value) return std::nullopt;
      values.push_back(std::move(*value));
    }
    return Value(std::move(values));
  }

  /// All keys come first.
  std::optional<Value> dictionaryOf(const Object& object, int depth) {
    const auto extent = counted(object);
    if (!extent) return std::nullopt;
    Dictionary entries;
    for (std::uint64_t i = 0; i < extent->count; ++i) {
      const auto keyIndex = referenceAt(*extent, i);
      const auto index = referenceAt(*extent, extent->count + i);
      const auto key = keyIndex ? valueOf(*keyIndex, depth + 1) : std::nullopt;
      auto value = index ? valueOf(*index, depth + 1) : std::nullopt;
      const auto* name = key ? key->as<std::string>() : nullptr;
      if (name == nullptr || !value) return std::nullopt;
      entries.set(*name, std::move(*value));
    }
    return Value(std::move(entries));
  }

  BinaryListBounds left_;
  std::span<const char> list_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t table_ = 0;
};

}  // namespace

std::optional<Value> valueOfBinaryList(const BinaryListBounds& bounds, std::span<const char> list) {
  return Reader(bounds, list).run();
}

}  // namespace wevora::platform
