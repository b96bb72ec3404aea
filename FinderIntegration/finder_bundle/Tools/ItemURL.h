#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Base/Strings.h"

namespace wevora {

/// The file URL of an item that the host draws.
class ItemURL {
 public:
  explicit ItemURL(std::string path) : path_(std::move(path)) {}
  /// nullopt if the text is not a file URL.
  static std::optional<ItemURL> fromString(std::string_view url) {
    auto path = platform::pathFromFileUrl(url);
    return path ? std::optional(ItemURL(std::move(*path))) : std::nullopt;
  }

  const std::string& path() const noexcept { return path_; }
  /// "file://localhost" and the path, percent-encoded.
  std::string absoluteString() const {
    return "file://localhost" + platform::percentEncodedPath(path_);
  }
  /// Whether absoluteString is "file://localhost/". Called for each drawn icon, so it does not
  /// build the text.
  bool isBootVolumeRoot() const noexcept { return path_ == "/"; }

  friend bool operator==(const ItemURL&, const ItemURL&) = default;

 private:
  std::string path_;
};

}  // namespace wevora
