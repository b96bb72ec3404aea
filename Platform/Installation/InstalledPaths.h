#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wevora::platform {

/// The one table from the system's own path texts to this platform's:
///
///   /Library/Wevora/FinderPlugin/                     <install prefix>/lib/wevora/FinderPlugin/
///   /Users/<name>/Library/Application Support/Wevora/ <home folder>/.config/Wevora/
///   /Library/Application Support/Wevora/              /etc/xdg/Wevora/
///
/// Home folders come from the password database: the environment of a file manager is not trusted.
/// Threads: any; a value. Owns: its texts. Errors: none; see translate.
class InstalledPaths {
 public:
  /// Where the install puts things.
  InstalledPaths();
  /// Everything below a folder that stands for the install prefix and for "/": lib/wevora,
  /// etc/xdg/Wevora and home/<name>.
  static InstalledPaths belowRoot(std::string root);

  /// A text that is in no row is left as it is; the settings of an unknown user are "", a path at
  /// which nothing can be read or made.
  std::string translate(std::string_view systemPath) const;

  /// The one of the process: the installed one, or the one below the root that the build was given.
  static InstalledPaths shared();
  /// Puts another one in its place. For an own program or test, before anything uses it.
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
  std::optional<std::string> homes_;  ///< None: the password database knows.
};

}  // namespace wevora::platform
