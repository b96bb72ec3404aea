#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/HostSession/BadgeReader.h"
#include "Tests/HostSession/Screen.h"
#include "Tests/HostSession/StandInAgent.h"
#include "Tests/SessionBus/SessionBus.h"

namespace wevora::testing_host {

/// A person's session, for a test that has a mount namespace of its own: an empty home, a session
/// bus, a virtual display, the system installed where its paths say, and a real file manager.
/// Threads: one. Owns: all processes that it starts; the mounts go with the namespace.
/// Errors: throws where one of its parts cannot be had.
class HostSession {
 public:
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  /// A place of the sidebar; before the file manager is started.
  void addBookmark(const std::string& folder, const std::string& name) const;
  /// Takes the bundle away; before the file manager is started.
  void hideBundle() const;

  const Screen& screen() const { return *screen_; }
  const ChildProcess& fileManager() const { return *fileManager_; }
  const BadgeReader& badges() const { return badges_; }
  /// Each time the window has drawn a frame, until it holds; false after a minute.
  bool until(const std::function<bool()>& holds, unsigned window = 0) const;
  /// The same of what is not to be seen in a window: asks again and again.
  static bool untilOutside(const std::function<bool()>& holds);

  /// The word that the item's icon shows; "not shown" for one that is not on the screen.
  std::string word(const std::string& path, unsigned window = 0) const;
  /// Whether the icon comes to show the word.
  testing::AssertionResult shows(const std::string& path, const std::string& word,
                                 unsigned window = 0) const;
  /// The window's picture once nothing in it moves any more; null where that does not happen.
  platform::BitmapRef steadyPicture(unsigned window = 0) const;

  const std::string& home() const { return home_; }

 protected:
  /// With a screen of so many pixels.
  explicit HostSession(const std::string& screenSize);
  ~HostSession() = default;

  /// Adds to a file of the home.
  void writeAtHome(const std::string& file, const std::string& text) const;
  /// What everything of a sanitized build is loaded with.
  static std::string preloaded();
  void startFileManager(const std::vector<std::string>& command, const Environment& more);
  /// Of a file manager that hands what it is asked for to the one that runs, or of any program.
  void startAnother(const std::vector<std::string>& command, const Environment& more);
  /// Throws where the window does not come to show so many items.
  void waitForItems(std::size_t items, unsigned window) const;

  Environment environment(const Environment& more) const;

 private:
  std::string home_;
  SessionBus bus_;
  std::string displayName_;
  std::unique_ptr<ChildProcess> display_;
  std::unique_ptr<ChildProcess> fileManager_;
  std::vector<std::unique_ptr<ChildProcess>> others_;
  std::unique_ptr<Screen> screen_;
  BadgeReader badges_;
};

/// Puts what was built where it is looked for once it is installed, inside the namespace.
void installBuiltLibraries();

/// Mounts an empty folder over this one.
void mountEmpty(const std::string& folder);
/// Has a file show what another one holds.
void bindFile(const std::string& file, const std::string& over);

/// The file URI of a path, as the file manager has it.
std::string uriOf(const std::string& path);

}  // namespace wevora::testing_host
