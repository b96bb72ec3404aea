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

/// Whether the tests run as the machine's root, who may mount disk images; in the namespace of an
/// ordinary user only volumes in memory can be mounted.
inline bool mayMountDisks() {
  const char* user = std::getenv(kNamespaceVariable);
  return user != nullptr && std::string_view(user) == "root";
}

/// For `main`: runs the program again inside a mount namespace of its own, so that the machine's
/// mounts stay as they are and an ordinary user may mount; there, runs the tests. /media is empty.
inline int runTestsInMountNamespace(int count, char** arguments) {
  if (std::getenv(kNamespaceVariable) != nullptr) {
    // GVolumeMonitor lists what is mounted below /media.
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
  std::string how = root ? "-m" : "-Urm";
  std::vector<char*> command = {unshare.data(), how.data(), self.data()};
  command.insert(command.end(), arguments + 1, arguments + count);
  command.push_back(nullptr);
  ::execvp(unshare.c_str(), command.data());
  return 1;
}

}  // namespace wevora::testing_host
