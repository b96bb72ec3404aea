#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gio/gio.h>

#include "Platform/Graphics/Bitmap.h"

namespace wevora::testing_host {

/// An icon on the screen. A cell's name is its item's URI, its kind is the widget's class; a
/// sidebar row's name is its label, its kind is the class of its icon.
struct Place {
  std::string name;
  std::string kind;
  platform::Rect frame;  ///< in the window's picture, points
};

/// What a window shows at one moment.
struct Capture {
  platform::BitmapRef picture;  ///< what its widgets drew last; null without a window
  double scale = 1;             ///< the picture's pixels for each point
  std::vector<Place> cells;     ///< those whose icons are completely visible
};

/// What the file manager shows, as the probe inside it reports it.
/// Errors: a result is empty when the probe does not reply; throws without a bus.
class Screen {
 public:
  /// By the address of the session bus.
  explicit Screen(const std::string& address);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  /// The titles of the windows, in the order in which they were opened.
  std::vector<std::string> windows() const;
  /// After its next frame.
  Capture capture(unsigned window = 0) const;
  /// Without a picture, which takes the file manager some time.
  std::vector<Place> cells(unsigned window = 0) const;
  platform::BitmapRef picture(unsigned window = 0) const { return capture(window).picture; }
  std::vector<Place> sidebar(unsigned window = 0) const;
  void nextFrame(unsigned window = 0) const;
  /// From 0, the top, to 1.
  void scroll(double part, unsigned window = 0) const;
  /// Activates the action of a menu or key; the argument is the text of a GVariant, or "".
  void activate(const std::string& action, const std::string& argument = "",
                unsigned window = 0) const;
  /// Moves an icon of the desktop, points.
  void move(const std::string& uri, double x, double y, unsigned window = 0) const;
  /// How often the window's view of items painted its whole visible area.
  unsigned paints(unsigned window = 0) const;
  /// Closes the window, as its close button does.
  void close(unsigned window = 0) const;
  /// Sets the file manager's wall clock forward; false where that fails.
  bool advanceClock(double seconds) const;
  /// Types into the search entry.
  void search(const std::string& text, unsigned window = 0) const;
  /// Presses the eject button of a place of the sidebar; false where there is no such button.
  bool eject(const std::string& label, unsigned window = 0) const;

  struct VariantUnref {
    void operator()(GVariant* variant) const noexcept { g_variant_unref(variant); }
  };
  using Variant = std::unique_ptr<GVariant, VariantUnref>;
  /// Calls a method that only some probes have; null without a reply.
  Variant call(const char* method, GVariant* arguments) const;

 private:
  static std::vector<Place> placesOf(const Variant& reply);

  GDBusConnection* bus_;
};

}  // namespace wevora::testing_host
