#pragma once

#include <cstddef>
#include <span>

namespace wevora::platform {

/// How much a binary list may unfold to. Its containers refer to values by number, so that a small
/// file can hold a value in a thousand places, or inside itself.
struct BinaryListBounds {
  std::size_t values;
  std::size_t bytes;  ///< of all texts and data together
  int depth;
};

/// Whether the list is whole, as far as its containers and texts go, and unfolds within the bounds.
/// Its keys are texts, and no text holds a NUL: the library would end the process over them.
bool isWithin(const BinaryListBounds& bounds, std::span<const char> list);

}  // namespace wevora::platform
