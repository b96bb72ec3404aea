#pragma once

#include <string>

#include "Tests/HostSession/HostSession.h"

namespace wevora::testing_host {

/// A session with Nautilus.
/// Threads, Owns, Errors: as HostSession.
class NautilusSession : public HostSession {
 public:
  enum class View { Icons, List };
  enum class Module { Present, Absent };

  explicit NautilusSession(View view, Module module = Module::Present);

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

  /// Whether a row of the sidebar shows the bundle's own picture.
  static bool isDriveAt(const platform::Bitmap& picture, const Place& row);

 private:
  Environment environment() const;

  int scale_ = 1;
};

}  // namespace wevora::testing_host
