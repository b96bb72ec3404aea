#include "Platform/PropertyLists/BinaryList.h"

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "Platform/PropertyLists/DictionaryBuilder.h"
#include "Platform/PropertyLists/ListText.h"

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

/// Expands a list; stops at the first bound that is exceeded and at the first invalid value.
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
  /// The offset of an object, and the halves of its first byte.
  struct Object {
    std::uint64_t place;
    unsigned marker;
    unsigned low;
  };
  /// A number of items and their offset.
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

  /// The count in an object's first byte or, where those four bits are full, in the integer after
  /// it.
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

  /// Integers of eight and of sixteen bytes are signed.
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
    // Two statements: in one expression gcc warns falsely about an uninitialized value.
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

  /// A dictionary, as in XML.
  std::optional<Value> uidOf(const Object& object) const {
    const std::size_t size = object.low + 1;
    if (!isInside(object.place + 1, size)) return std::nullopt;
    const auto id = number(object.place + 1, size);
    return id ? Value(Dictionary{{"CF$UID", Value(*id)}}) : Value(Opaque());
  }

  /// The extent of data or of a text, charged to the bound of bytes.
  std::optional<Extent> charged(const Object& object, std::size_t unit) {
    const auto extent = extentOf(object);
    if (!extent || extent->count > left_.bytes / unit) return std::nullopt;
    if (!isInside(extent->place, extent->count * unit)) return std::nullopt;
    left_.bytes -= extent->count * unit;
    return extent;
  }

  std::optional<Value> dataOf(const Object& object) {
    const auto extent = charged(object, 1);
    if (!extent) return std::nullopt;
    const auto bytes = std::as_bytes(list_.subspan(extent->place, extent->count));
    return Value(Data(bytes.begin(), bytes.end()));
  }

  std::optional<std::string> textOf(const Object& object) {
    const bool wide = object.marker == Marker::utf16;
    const auto extent = charged(object, wide ? 2 : 1);
    if (!extent) return std::nullopt;
    const auto bytes = list_.subspan(extent->place, extent->count * (wide ? 2 : 1));
    return wide ? utf8OfUtf16(bytes, std::endian::big) : std::string(bytes.begin(), bytes.end());
  }

  /// The object number at an index of a container.
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

  /// All keys precede all values.
  std::optional<Value> dictionaryOf(const Object& object, int depth) {
    const auto extent = counted(object);
    if (!extent) return std::nullopt;
    DictionaryBuilder entries;
    for (std::uint64_t i = 0; i < extent->count; ++i) {
      const auto keyIndex = referenceAt(*extent, i);
      const auto index = referenceAt(*extent, extent->count + i);
      const auto key = keyIndex ? valueOf(*keyIndex, depth + 1) : std::nullopt;
      auto value = index ? valueOf(*index, depth + 1) : std::nullopt;
      const auto* name = key ? key->as<std::string>() : nullptr;
      if (name == nullptr || !value) return std::nullopt;
      entries.set(*name, std::move(*value));
    }
    return Value(std::move(entries).build());
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
