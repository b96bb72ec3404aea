#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/NautilusHost/BadgeReader.h"
#include "Tests/NautilusHost/Screen.h"
#include "Tests/SessionBus/SessionBus.h"

namespace wevora::testing_host {

/// A person's session, for a test that has a mount namespace of its own: an empty home, a session
/// bus, a virtual display, the system installed where its paths say, and the real file manager.
/// Threads: one. Owns: all processes that it starts; the mounts go with the namespace.
/// Errors: throws where one of its parts cannot be had.
class Session {
 public:
  enum class View { Icons, List };
  enum class Module { Present, Absent };

  explicit Session(View view, Module module = Module::Present);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// A line "(w) Drive" of the sidebar; before the file manager is started.
  void addBookmark(const std::string& folder, const std::string& name) const;
  /// Starts the file manager with one window, and waits until that shows so many items at least.
  void open(const std::string& location, std::size_t items = 1);
  /// Another window of the same file manager.
  void openAnother(const std::string& location, std::size_t items = 1);

  /// In points; before the file manager is started.
  void setWindowSize(int width, int height) const;
  /// In the icon view; before the file manager is started.
  void useSmallIcons() const;
  /// Of the icons: without a display's hardware each takes as long as a window; before the file
  /// manager is started.
  void hideShadows() const;
  /// How many pixels of the display are a point; before the file manager is started.
  void setScale(int scale) { scale_ = scale; }
  /// A picture's thumbnail, all white, as if it had been made already.
  void addThumbnail(const std::string& file, int width, int height) const;
  /// A file in the person's trash.
  void addToTrash(const std::string& name) const;
  /// A file that the person has used.
  void addToRecent(const std::string& file) const;
  /// Takes the bundle away; before the file manager is started.
  void hideBundle() const;

  const Screen& screen() const { return *screen_; }
  const ChildProcess& fileManager() const { return *fileManager_; }
  const BadgeReader& badges() const { return badges_; }
  /// Each time the window has drawn a frame, until it holds; false after a minute.
  bool until(const std::function<bool()>& holds, unsigned window = 0) const;

  /// The word that the item's icon shows; "not shown" for one that is not on the screen.
  std::string word(const std::string& path, unsigned window = 0) const;
  /// Whether the icon comes to show the word.
  testing::AssertionResult shows(const std::string& path, const std::string& word,
                                 unsigned window = 0) const;
  /// The window's picture once nothing in it moves any more; null where that does not happen.
  platform::BitmapRef steadyPicture(unsigned window = 0) const;

 private:
  Environment environment() const;

  std::string home_;
  SessionBus bus_;
  std::string displayName_;
  int scale_ = 1;
  std::unique_ptr<ChildProcess> display_;
  std::unique_ptr<ChildProcess> fileManager_;
  std::vector<std::unique_ptr<ChildProcess>> others_;
  std::unique_ptr<Screen> screen_;
  BadgeReader badges_;
};

/// Puts what was built where it is looked for once it is installed, inside the namespace.
void installBuiltLibraries();

/// The file URI of a path, as the file manager has it.
std::string uriOf(const std::string& path);

/// Runs "wevora-agent-sim" to its end; throws where it fails.
void agentTool(const std::vector<std::string>& arguments);

/// Runs "wevora-badges on" or "off"; throws where it fails.
void switchBadges(bool on);

/// The stand-in agent, "wevora-agent-sim serve", as a process.
/// Threads: one. Owns: the process. Errors: throws where it does not come up.
class Agent {
 public:
  explicit Agent(const std::string& account, const std::vector<std::string>& more = {});
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;

  /// Has it tell of what has happened at these paths.
  void tell(const std::string& event, const std::vector<std::string>& paths) const;
  void kill();
  pid_t pid() const noexcept { return process_->pid(); }

 private:
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace wevora::testing_host
