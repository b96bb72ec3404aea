#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Graphics/Image.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora::platform {

/// An installed folder of code and resources. Its images are in Contents/Resources; its code is a
/// shared library in Contents/Linux, named after the folder.
class Bundle {
 public:
  /// Translates a fixed system path. nullopt if no such folder is installed.
  // +bundleWithPath:
  static std::optional<Bundle> bundleWithPath(std::string_view systemPath,
                                              const InstalledPaths& paths);

  /// The path of an image file by its name ("ok.icns"); nullopt if there is no such file, or if the
  /// name contains a separator.
  // -pathForImageResource:
  std::optional<std::string> pathForImageResource(std::string_view name) const;
  /// Not cached: every call loads the file. Null if the file is missing or is not an image.
  // -imageForResource:
  ImageRef imageForResource(std::string_view name) const;

  /// The entry point of a bundle's code: a function without arguments that does nothing when it is
  /// called again.
  static constexpr const char* kEntry = "wevora_bundle_load";
  /// Maps the code for the lifetime of the process and calls its entry point. To be called on the
  /// main thread, after the host has registered its classes with the runtime. False if the library
  /// or its entry point is missing.
  // -load
  bool load() const noexcept;

 private:
  explicit Bundle(std::string path) : path_(std::move(path)) {}
  std::string path_;
};

}  // namespace wevora::platform
