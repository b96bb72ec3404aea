#pragma once

#include <chrono>
#include <cstddef>
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

/// A desktop session for a test that has a mount namespace of its own: an empty home, a session
/// bus, a virtual display, the product installed at its real paths, and a real file manager.
/// Nothing of the person's session is used or started. Ownership: all processes that it starts; the
/// mounts go with the namespace. Errors: throws where one of its parts does not start.
class HostSession {
 public:
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  /// A place of the sidebar; before the file manager is started.
  void addBookmark(const std::string& folder, const std::string& name) const;
  /// Hides the bundle; before the file manager is started.
  void hideBundle() const;
  /// Adds a file to the trash.
  void addToTrash(const std::string& name) const;
  /// Adds a file to the recently used ones.
  void addToRecent(const std::string& file) const;
  /// Makes trash:///, recent:/// and the like available, where GVfs is installed; before the file
  /// manager is started.
  void provideVirtualPlaces();

  const Screen& screen() const { return *screen_; }
  const ChildProcess& fileManager() const { return *fileManager_; }
  const BadgeReader& badges() const { return badges_; }
  /// Checks a condition after each frame of the window; false when it does not become true within a
  /// minute.
  bool until(const std::function<bool()>& holds, unsigned window = 0) const;
  /// The same for a condition that no window shows: checks again and again.
  static bool untilOutside(const std::function<bool()>& holds);
  /// Sets the file manager's wall clock forward so far that the next event makes it read the states
  /// of all items again.
  void ageStates() const;

  /// The badge on the item's icon; "not shown" for an item that is not on the screen.
  std::string word(const std::string& path, unsigned window = 0) const;
  /// Waits until the icon shows the badge.
  testing::AssertionResult shows(const std::string& path, const std::string& word,
                                 unsigned window = 0) const;
  /// The window's picture once nothing in it moves any more; null where that does not happen.
  platform::BitmapRef steadyPicture(unsigned window = 0) const;

  const std::string& home() const { return home_; }
  /// LD_PRELOAD for a library of the tests: a sanitizer's own library comes first.
  static std::string preloadedWith(const std::string& library);

 protected:
  /// With a screen of so many pixels.
  explicit HostSession(const std::string& screenSize);
  ~HostSession() = default;

  /// Appends to a file of the home.
  void writeAtHome(const std::string& file, const std::string& text) const;
  /// The libraries that are preloaded into the file manager.
  static std::string preloaded();
  void startFileManager(const std::vector<std::string>& command, const Environment& more);
  /// Starts a program that passes its arguments to the running file manager, or any other program.
  void startAnother(const std::vector<std::string>& command, const Environment& more);
  /// Throws where the window does not show so many items in time.
  void waitForItems(std::size_t items, unsigned window) const;
  /// Waits for so many windows; false when they are not open in time.
  bool opensWindows(std::size_t windows, std::chrono::seconds allowed) const;
  bool fileManagerRuns() const { return fileManager_ && !fileManager_->status(); }
  /// Closes all windows but the newest one, which becomes window 0.
  void closeOlderWindows() const;

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
  bool virtualPlaces_ = false;
};

/// Mounts the built libraries at their installed path, inside the namespace.
void installBuiltLibraries();

/// Mounts an empty folder over this one.
void mountEmpty(const std::string& folder);
/// Bind-mounts a file over another one.
void bindFile(const std::string& file, const std::string& over);

/// The file URI of a path, spelled as in the file manager.
std::string uriOf(const std::string& path);

}  // namespace wevora::testing_host
