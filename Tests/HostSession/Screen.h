#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gio/gio.h>

#include "Platform/Graphics/Bitmap.h"

namespace wevora::testing_host {

/// An icon on the screen: of a cell, its item's URI and the kind of cell; of a sidebar's row, its
/// label and the kind of icon.
struct Place {
  std::string name;
  std::string kind;
  platform::Rect frame;  ///< in the window's picture, points
};

/// What a window shows at one moment.
struct Look {
  platform::BitmapRef picture;  ///< what its widgets drew last; null without a window
  double scale = 1;             ///< the picture's pixels for each point
  std::vector<Place> cells;     ///< those that are wholly to be seen
};

/// What the file manager shows, told by the probe inside it.
/// Threads: one. Owns: its connection to the bus. Errors: what cannot be told is empty; throws
/// without a bus.
class Screen {
 public:
  /// By the address of the session bus.
  explicit Screen(const std::string& address);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  /// The titles of the windows, in the order in which they were opened.
  std::vector<std::string> windows() const;
  /// Once its next frame is drawn.
  Look look(unsigned window = 0) const;
  /// Without a picture, which keeps the file manager from its work for a while.
  std::vector<Place> cells(unsigned window = 0) const;
  platform::BitmapRef picture(unsigned window = 0) const { return look(window).picture; }
  std::vector<Place> sidebar(unsigned window = 0) const;
  void nextFrame(unsigned window = 0) const;
  /// From 0, the top, to 1.
  void scroll(double part, unsigned window = 0) const;
  /// Does what a menu or a key would do; the argument is the text of a GVariant, or "".
  void activate(const std::string& action, const std::string& argument = "",
                unsigned window = 0) const;
  /// Puts an icon of the desktop somewhere else, points.
  void move(const std::string& uri, double x, double y, unsigned window = 0) const;
  /// How often the window's view of items was asked to paint all that is seen of it.
  unsigned paints(unsigned window = 0) const;
  /// Types into the search entry.
  void search(const std::string& text, unsigned window = 0) const;
  /// Presses the button that ejects a place of the sidebar; false where there is none.
  bool eject(const std::string& label, unsigned window = 0) const;

  struct VariantUnref {
    void operator()(GVariant* variant) const noexcept { g_variant_unref(variant); }
  };
  using Variant = std::unique_ptr<GVariant, VariantUnref>;
  /// Asks for what only some file managers are asked for; null where there is no answer.
  Variant call(const char* method, GVariant* arguments) const;

 private:
  static std::vector<Place> placesOf(const Variant& answer);

  GDBusConnection* bus_;
};

}  // namespace wevora::testing_host
