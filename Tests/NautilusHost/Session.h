#pragma once

#include <string>

#include "Tests/HostSession/HostSession.h"

namespace wevora::testing_host {

/// A session with Nautilus.
/// Threads, Owns, Errors: as HostSession.
class Session : public HostSession {
 public:
  enum class View { Icons, List };
  enum class Module { Present, Absent };

  explicit Session(View view, Module module = Module::Present);

  /// In points; before the file manager is started.
  void setWindowSize(int width, int height) const;
  /// Starts the file manager with one window, and waits until that shows so many items at least.
  void open(const std::string& location, std::size_t items = 1);
  /// Another window of the same file manager.
  void openAnother(const std::string& location, std::size_t items = 1);
};

}  // namespace wevora::testing_host
