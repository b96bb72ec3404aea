#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

/// Property lists: values in files, as XML or binary.
///
/// A list is hostile input: files of up to 16 MiB, up to 262,144 values and keys, and up to 512
/// containers inside one another are read. The reader keeps everything that the file has, so a list
/// may be readable and not writable.
///
/// Thread-safety: any thread.
/// Errors: null for a file or list that cannot be read or written.
class PropertyLists {
 public:
  static constexpr std::size_t kLargestFile = std::size_t{16} * 1024 * 1024;  ///< bytes
  static constexpr std::size_t kMostValues = 262144;
  static constexpr int kDeepest = 512;

  /// The list in a file, in either form. What follows the end tag of an XML list is ignored.
  static std::optional<Value> read(const std::string& path);
  /// The list in memory, in either form.
  static std::optional<Value> parse(std::span<const char> bytes);
  /// The list as XML, with the keys in their order. Null where a value has no XML form: a null, a
  /// real that is not finite, a date outside the years 1 to 9999, or a text with a control
  /// character or invalid UTF-8. Dates lose their fraction of a second, for which XML has no form.
  static std::optional<std::string> xml(const Dictionary& list);
};

}  // namespace wevora::platform
