#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

/// Property lists: values in files, as XML or binary.
///
/// A list is hostile input: at most 16 MiB in a regular file, at most 16,384 values and keys, at
/// most 512 of them inside one another, and not more escaped characters than can be read at once.
/// What is read has all that the file has, so that a list may be read that cannot be written.
///
/// Threads: any. Owns: nothing. Errors: none is the answer to all of them.
class PropertyLists {
 public:
  static constexpr std::size_t kLargestFile = std::size_t{16} * 1024 * 1024;  ///< bytes
  static constexpr std::size_t kMostValues = 16384;
  static constexpr int kDeepest = 512;

  /// The list in a file, in either form. What follows the end of an XML list is not looked at.
  static std::optional<Value> read(const std::string& path);
  /// The list in memory, in either form.
  static std::optional<Value> parse(std::span<const char> bytes);
  /// The list as XML, keys in their order; none where a value has no XML form, such as a null, or a
  /// text with a control character or a byte that is not UTF-8. Dates lose their fraction of a
  /// second, for which XML has no place.
  static std::optional<std::string> xml(const Dictionary& list);
};

}  // namespace wevora::platform
