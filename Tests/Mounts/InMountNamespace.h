#pragma once

#include <array>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace wevora::testing_host {

inline constexpr const char* kNamespaceVariable = "WEVORA_TEST_NAMESPACE";

/// Whether the tests run as root, which may mount disk images. In an unprivileged user's namespace
/// only in-memory file systems can be mounted.
inline bool mayMountDisks() {
  const char* user = std::getenv(kNamespaceVariable);
  return user != nullptr && std::string_view(user) == "root";
}

/// The `main` of a test: re-executes the program in a new mount namespace and runs the tests there,
/// with an empty /media. The system's mounts stay unchanged, and no privileges are needed.
inline int runTestsInMountNamespace(int count, char** arguments) {
  if (std::getenv(kNamespaceVariable) != nullptr) {
    // GVolumeMonitor lists mounts below /media.
    if (::mount("tmpfs", "/media", "tmpfs", 0, "size=1m") != 0) return 1;
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
  }
  const bool root = ::geteuid() == 0;
  ::setenv(kNamespaceVariable, root ? "root" : "user", 1);
  ::setenv("GIO_USE_VOLUME_MONITOR", "unix", 1);
  std::array<char, 4096> self{};
  if (::readlink("/proc/self/exe", self.data(), self.size() - 1) <= 0) return 1;
  std::string unshare = "unshare";
  std::string options = root ? "-m" : "-Urm";
  std::vector<char*> command = {unshare.data(), options.data(), self.data()};
  command.insert(command.end(), arguments + 1, arguments + count);
  command.push_back(nullptr);
  ::execvp(unshare.c_str(), command.data());
  return 1;
}

}  // namespace wevora::testing_host
