#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace wevora::platform {

/// A temporary folder, removed with all its contents by the destructor.
/// Errors: throws if the folder cannot be created.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "wevora-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
      throw std::runtime_error("cannot create '" + pattern + "'");
    path_ = std::filesystem::canonical(pattern).string();
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string path(std::string_view below) const { return path_ + "/" + std::string(below); }

 private:
  std::string path_;
};

}  // namespace wevora::platform
