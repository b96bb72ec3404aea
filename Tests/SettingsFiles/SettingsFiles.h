#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "CommonCode/Tools/WVRAppSupport/WVRAppSupport.h"
#include "Platform/Installation/LoginUser.h"
#include "Platform/PropertyLists/PropertyLists.h"

namespace wevora::testing_host {

/// The key of the badge switch.
inline constexpr const char* kOverlay = "kFinderOverlayEnabledKey";

inline void put(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

inline void put(const std::string& path, const platform::Dictionary& settings) {
  put(path, platform::PropertyLists::xml(settings).value());
}

/// The settings of this process's user, and their template, below a folder that represents the
/// whole system. Errors: throws where the user has no name.
class SettingsFiles {
 public:
  explicit SettingsFiles(const std::string& root)
      : paths(platform::InstalledPaths::belowRoot(root)),
        userName(platform::loginName().value()),
        home(root + "/home/" + userName),
        folder(home + "/.config/Wevora"),
        file(folder + "/wevora-settings.plist"),
        settingsTemplate(root + "/etc/xdg/Wevora/wevora-settings.plist") {}

  std::unique_ptr<WVRAppSupport> support() const {
    return WVRAppSupport::initWithUserName(userName, paths);
  }
  std::optional<platform::Value> settings() const { return platform::PropertyLists::read(file); }

  const platform::InstalledPaths paths;
  const std::string userName;
  const std::string home;
  const std::string folder;
  const std::string file;
  const std::string settingsTemplate;
};

}  // namespace wevora::testing_host
