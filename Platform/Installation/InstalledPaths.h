#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wevora::platform {

/// Translates the fixed system paths to the paths of this platform:
///
///   /Library/Wevora/FinderPlugin/                     <install prefix>/lib/wevora/FinderPlugin/
///   /Users/<name>/Library/Application Support/Wevora/ <home folder>/.config/Wevora/
///   /Library/Application Support/Wevora/              /etc/xdg/Wevora/
///
/// Home folders come from the password database: the environment of a file manager is not trusted.
class InstalledPaths {
 public:
  /// The paths of the installation.
  InstalledPaths();
  /// Everything below a folder that replaces both the install prefix and "/": lib/wevora,
  /// etc/xdg/Wevora and home/<name>.
  static InstalledPaths belowRoot(std::string root);

  /// Returns a path that is not in the table unchanged. The settings of an unknown user translate
  /// to "", where nothing can be read or created.
  std::string translate(std::string_view systemPath) const;

  /// The instance of the process: the installed paths, or those below WEVORA_INSTALLED_ROOT if the
  /// build sets it. Thread-safety: any thread.
  static InstalledPaths shared();
  /// Replaces the instance of the process. For programs and tests, before its first use.
  static void setShared(InstalledPaths paths);

 private:
  InstalledPaths(std::string plugin, std::string settingsTemplate, std::optional<std::string> homes)
      : plugin_(std::move(plugin)),
        template_(std::move(settingsTemplate)),
        homes_(std::move(homes)) {}

  std::optional<std::string> homeOf(const std::string& user) const;
  std::optional<std::string> translateUserSettings(std::string_view systemPath) const;

  std::string plugin_;
  std::string template_;
  std::optional<std::string> homes_;  ///< nullopt: home folders come from the password database
};

}  // namespace wevora::platform
