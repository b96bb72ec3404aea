#pragma once

#include <string>
#include <vector>

#include "Tests/HostSession/HostSession.h"

namespace wevora::testing_host {

/// A session with PCManFM-Qt.
/// Threads, Owns, Errors: as HostSession.
class QtSession : public HostSession {
 public:
  /// As the host's settings name them.
  enum class View { Icon, Compact, Detailed, Thumbnail };
  enum class Plugin { Present, Absent };
  struct Options {
    View view = View::Icon;
    Plugin plugin = Plugin::Present;
    int scale = 1;            ///< device pixels a point
    std::string loader = {};  ///< what starts the file manager, where it is not started itself
  };

  explicit QtSession(const Options& options);

  /// Starts the file manager with one window, and waits until that shows so many items at least.
  void open(const std::string& location, std::size_t items = 1);
  /// Another window of the same file manager.
  void openAnother(const std::string& location, std::size_t items = 1);
  /// Starts the file manager without a window, as the desktop, which shows this folder.
  void openDesktop(const std::string& folder, std::size_t items = 1);

  /// Puts another version of the bundle into place of the one that the file manager holds.
  void installVersion(const std::string& version) const;
  /// A program in the file manager's session, to its end.
  Outcome runWithEnvironment(const std::vector<std::string>& command) const;

 private:
  Environment environment() const;
  const Options options_;
};

}  // namespace wevora::testing_host
