#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

#include "Platform/PropertyLists/PropertyLists.h"

namespace wevora::testing_host {

/// A home folder and a settings template that belong to the test, at the paths that installed
/// programs use. For tests that run in a mount namespace.
/// Ownership: the mount over /etc, until destroyed.
/// Errors: `mounted` is false.
class OwnSettings {
 public:
  OwnSettings() {
    namespace fs = std::filesystem;
    fs::remove_all(home);
    fs::create_directories(home);
    mounted = ::mount("tmpfs", "/etc", "tmpfs", 0, "size=1m") == 0;
    std::ofstream("/etc/passwd") << "wevora:x:" << ::getuid() << ":0::" << home << ":/bin/sh\n";
    fs::create_directories(fs::path(settingsTemplate).parent_path());
    std::ofstream(settingsTemplate)
        << platform::PropertyLists::xml({{"Other", platform::Value("kept")}}).value();
  }
  ~OwnSettings() { ::umount2("/etc", MNT_DETACH); }
  OwnSettings(const OwnSettings&) = delete;
  OwnSettings& operator=(const OwnSettings&) = delete;

  const std::string home = "/media/home";
  const std::string file = home + "/.config/Wevora/wevora-settings.plist";
  const std::string settingsTemplate = "/etc/xdg/Wevora/wevora-settings.plist";
  bool mounted = false;
};

}  // namespace wevora::testing_host
