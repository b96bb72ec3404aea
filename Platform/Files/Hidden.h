#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace wevora::platform {

/// The names that a folder's ".hidden" file lists, one a line, as file managers honour them.
/// Threads: one. Owns: the names. Errors: a file that cannot be read lists nothing.
class HiddenNames {
 public:
  static constexpr std::string_view kFileName = ".hidden";
  /// Far beyond any list that a person keeps; the file is other people's input. A longer one lists
  /// nothing. Bytes.
  static constexpr std::size_t kLongestList = std::size_t{4} << 20;

  explicit HiddenNames(const std::string& folder);
  HiddenNames(const HiddenNames&) = delete;
  HiddenNames& operator=(const HiddenNames&) = delete;

  /// Whether an item of this name is hidden: by its leading dot or by the list.
  bool hides(std::string_view name) const {
    return name.starts_with('.') || listed_.contains(name);
  }

 private:
  std::string text_;
  std::unordered_set<std::string_view> listed_;  ///< parts of text_
};

/// Whether an item exists and is hidden; a symbolic link is not followed. The answer is that of
/// GIO's "standard::is-hidden" but read afresh, for GIO remembers a list for five seconds, in which
/// an item that was just hidden would still pass for visible. Threads: any.
bool isHiddenItem(std::string_view path);

}  // namespace wevora::platform
