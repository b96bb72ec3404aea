#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Graphics/Image.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora::platform {

/// A folder of code and resources that is installed: its pictures are in Contents/Resources, its
/// code, named as the folder is, in Contents/Linux.
/// Threads: any; a value. Owns: its path.
/// Errors: a file that is not there, or is no picture, is none.
class Bundle {
 public:
  /// By its fixed path text. None where no such folder is installed.
  // +bundleWithPath:
  static std::optional<Bundle> bundleWithPath(std::string_view systemPath,
                                              const InstalledPaths& paths);

  /// The file of a picture with its extension ("ok.icns"); none for a name that is not one.
  // -pathForImageResource:
  std::optional<std::string> pathForImageResource(std::string_view name) const;
  /// Loaded anew at each call.
  // -imageForResource:
  ImageRef imageForResource(std::string_view name) const;

  /// The function with which the code of a bundle begins; it has no arguments and does nothing when
  /// it is called again.
  static constexpr const char* kEntry = "wevora_bundle_load";
  /// Maps the code, for as long as the process lives, and lets it begin: on the main thread, when
  /// the host has told the runtime of its classes. False where there is no such code.
  // -load
  bool load() const noexcept;

 private:
  explicit Bundle(std::string path) : path_(std::move(path)) {}
  std::string path_;
};

}  // namespace wevora::platform
