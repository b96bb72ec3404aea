#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Tests/HostSession/HostSession.h"

namespace wevora::testing_host {

/// A session with PCManFM-Qt.
class QtSession : public HostSession {
 public:
  /// Named as in the host's settings.
  enum class View { Icon, Compact, Detailed, Thumbnail };
  enum class Plugin { Present, Absent };
  struct Options {
    View view = View::Icon;
    Plugin plugin = Plugin::Present;
    int scale = 1;            ///< device pixels a point
    std::string loader = {};  ///< the program that starts the file manager; "" starts it directly
  };

  explicit QtSession(const Options& options);

  /// Opens a window, which becomes the only one, and waits until it shows at least so many items.
  /// Starts the file manager when it does not run.
  void open(const std::string& location, std::size_t items = 1);
  /// Another window of the same file manager.
  void openAnother(const std::string& location, std::size_t items = 1);
  void zoomIn(unsigned window = 0) const { screen().activate("actionZoomIn", "", window); }
  /// Starts the file manager without a window, as the desktop, which shows this folder.
  void openDesktop(const std::string& folder, std::size_t items = 1);

  /// Installs another version of the bundle over the one that the file manager has loaded.
  void installVersion(const std::string& version) const;
  /// Runs a program in the file manager's session to its end.
  Outcome runWithEnvironment(const std::vector<std::string>& command) const;

 private:
  Environment environment() const;
  /// Waits for the window, and repeats the request to open it where necessary.
  void waitForWindow(std::size_t window, const std::string& location);

  const Options options_;
};

}  // namespace wevora::testing_host
