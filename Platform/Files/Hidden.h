#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace wevora::platform {

/// The names in a folder's ".hidden" file, one per line, which file managers do not show.
/// Errors: an unreadable file counts as empty.
class HiddenNames {
 public:
  static constexpr std::string_view kFileName = ".hidden";
  /// Upper bound for untrusted input. A larger file counts as empty.
  static constexpr std::size_t kMaxListBytes = std::size_t{4} << 20;

  explicit HiddenNames(const std::string& folder);
  HiddenNames(const HiddenNames&) = delete;
  HiddenNames& operator=(const HiddenNames&) = delete;

  /// Whether a leading dot or the list hides an item of this name.
  bool hides(std::string_view name) const {
    return name.starts_with('.') || listed_.contains(name);
  }

 private:
  std::string text_;
  std::unordered_set<std::string_view> listed_;  ///< views into text_
};

/// Whether an item exists and is hidden; a symbolic link is not followed. The result equals GIO's
/// "standard::is-hidden", but GIO caches the ".hidden" file for five seconds and this function
/// reads it on each call, so that a change is visible immediately.
/// Thread-safety: safe from any thread.
bool isHiddenItem(std::string_view path);

}  // namespace wevora::platform
