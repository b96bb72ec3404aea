#include "Platform/PropertyLists/BinaryListBounds.h"

#include <cstdint>
#include <optional>

namespace wevora::platform {
namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTrailerSize = 32;
constexpr std::size_t kLargestNumber = 8;

enum Marker : unsigned { integer = 1, data = 4, ascii = 5, utf16 = 6, array = 10, dictionary = 13 };

/// Walks a list as a reader unfolds it, and stops at the first bound or broken text.
/// Threads: one. Owns: nothing. Errors: false stands for a bound or a list that is not whole.
class Walk {
 public:
  Walk(const BinaryListBounds& bounds, std::span<const char> list) : left_(bounds), list_(list) {}

  bool run() {
    if (list_.size() < kHeaderSize + kTrailerSize) return false;
    const std::size_t trailer = list_.size() - kTrailerSize;
    offsetSize_ = static_cast<unsigned char>(list_[trailer + 6]);
    referenceSize_ = static_cast<unsigned char>(list_[trailer + 7]);
    const auto top = number(trailer + 16, 8);
    const auto table = number(trailer + 24, 8);
    if (!top || !table) return false;
    table_ = *table;
    return walk(*top, 0);
  }

 private:
  /// A count of things and where they begin.
  struct Extent {
    std::uint64_t count;
    std::size_t place;
  };

  std::optional<std::uint64_t> number(std::uint64_t place, std::size_t size) const {
    if (size == 0 || size > kLargestNumber) return std::nullopt;
    if (place > list_.size() || size > list_.size() - place) return std::nullopt;
    std::uint64_t result = 0;
    for (const char byte : list_.subspan(place, size))
      result = result << 8U | static_cast<unsigned char>(byte);
    return result;
  }

  std::optional<std::uint64_t> placeOf(std::uint64_t object) const {
    if (object >= list_.size() || table_ >= list_.size()) return std::nullopt;
    return number(table_ + object * offsetSize_, offsetSize_);
  }

  /// The count in a marker's lower half, or in the integer that follows a full one.
  std::optional<Extent> extentAt(std::uint64_t place, unsigned marker) const {
    const unsigned low = marker & 0x0FU;
    if (low != 0x0F) return Extent{low, place + 1};
    const auto next = number(place + 1, 1);
    if (!next || *next >> 4U != Marker::integer) return std::nullopt;
    const std::size_t size = std::size_t{1} << (*next & 0x0FU);
    const auto count = number(place + 2, size);
    if (!count) return std::nullopt;
    return Extent{*count, place + 2 + size};
  }

  bool walk(std::uint64_t object, int depth) {
    if (left_.values == 0 || depth > left_.depth) return false;
    --left_.values;
    const auto place = placeOf(object);
    const auto marker = place ? number(*place, 1) : std::nullopt;
    if (!marker) return false;
    switch (*marker >> 4U) {
      case Marker::data:
        return weigh(extentAt(*place, static_cast<unsigned>(*marker)), 1);
      case Marker::ascii:
        return isText(extentAt(*place, static_cast<unsigned>(*marker)), 1);
      case Marker::utf16:
        return isText(extentAt(*place, static_cast<unsigned>(*marker)), 2);
      case Marker::array:
        return walkAll(extentAt(*place, static_cast<unsigned>(*marker)), 1, depth);
      case Marker::dictionary:
        return walkAll(extentAt(*place, static_cast<unsigned>(*marker)), 2, depth);
      default:
        return true;
    }
  }

  bool weigh(const std::optional<Extent>& extent, std::size_t unit) {
    if (!extent || extent->count > left_.bytes / unit) return false;
    left_.bytes -= extent->count * unit;
    return true;
  }

  bool isText(const std::optional<Extent>& extent, std::size_t unit) {
    if (!weigh(extent, unit)) return false;
    for (std::uint64_t i = 0; i < extent->count; ++i) {
      const auto character = number(extent->place + i * unit, unit);
      if (!character || *character == 0) return false;
    }
    return true;
  }

  bool walkAll(const std::optional<Extent>& extent, std::uint64_t references, int depth) {
    if (!extent || extent->count > left_.values) return false;
    for (std::uint64_t i = 0; i < extent->count * references; ++i) {
      const auto object = number(extent->place + i * referenceSize_, referenceSize_);
      if (!object || !walk(*object, depth + 1)) return false;
      // The keys of a dictionary come first.
      if (references == 2 && i < extent->count && !isTextObject(*object)) return false;
    }
    return true;
  }

  bool isTextObject(std::uint64_t object) const {
    const auto place = placeOf(object);
    const auto marker = place ? number(*place, 1) : std::nullopt;
    return marker && (*marker >> 4U == Marker::ascii || *marker >> 4U == Marker::utf16);
  }

  BinaryListBounds left_;
  std::span<const char> list_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t table_ = 0;
};

}  // namespace

bool isWithin(const BinaryListBounds& bounds, std::span<const char> list) {
  return Walk(bounds, list).run();
}

}  // namespace wevora::platform
