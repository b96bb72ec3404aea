#pragma once

#include <string>

#include "Tests/HostSession/HostSession.h"

namespace wevora::testing_host {

/// A session with Nautilus.
class NautilusSession : public HostSession {
 public:
  enum class View { Icons, List };
  enum class Module { Present, Absent };

  explicit NautilusSession(View view, Module module = Module::Present);

  /// Opens a window, which becomes the only one, and waits until it shows at least so many items.
  /// Starts the file manager when it does not run.
  void open(const std::string& location, std::size_t items = 1);
  /// Another window of the same file manager.
  void openAnother(const std::string& location, std::size_t items = 1);
  void zoomIn(unsigned window = 0) const { screen().activate("view.zoom-in", "", window); }

  /// In points; before the file manager is started.
  void setWindowSize(int width, int height) const;
  /// In the icon view; before the file manager is started.
  void useSmallIcons() const;
  /// Without the shadows of icons, which a software renderer draws as slowly as a window; before
  /// the file manager is started.
  void hideShadows() const;
  /// Pixels for each point; before the file manager is started.
  void setScale(int scale) { scale_ = scale; }
  /// Adds a white thumbnail of a picture to the thumbnail cache.
  void addThumbnail(const std::string& file, int width, int height) const;

  /// Whether a row of the sidebar shows the bundle's own image of a drive.
  static bool isDriveAt(const platform::Bitmap& picture, const Place& row);

 private:
  Environment environment() const;

  int scale_ = 1;
};

}  // namespace wevora::testing_host
