#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gio/gio.h>

namespace wevora::testing_host {

/// What a file manager's probe provides. Both functions are called on the main thread.
struct ProbeFunctions {
  /// The titles of the windows, in the order in which they were opened.
  std::vector<std::string> (*windowTitles)();
  /// Handles a method whose first argument is the number of a window, and returns the invocation.
  void (*call)(guint window, const std::string& method, GVariant* arguments,
               GDBusMethodInvocation* invocation);
};

/// In the file manager: serves the probe's interface on the session bus until the process ends.
void serveProbe(const ProbeFunctions& functions);

// What to return for a window that does not exist, and for a method that this host does not have.
void returnNoSuchWindow(GDBusMethodInvocation* invocation);
void returnNotOfThisHost(GDBusMethodInvocation* invocation);

/// Collects the places that a method returns.
class PlaceList {
 public:
  PlaceList();
  /// The name may be any bytes.
  void add(const std::string& name, const char* kind, double x, double y, double width,
           double height);
  /// The method's return value.
  GVariant* finish();

 private:
  GVariantBuilder places_;
};

/// Writes a picture for Screen::capture: its width, its height, its pixels for each point, and its
/// pixels, 32 bits each.
struct PictureFile {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t scale = 1;
  std::vector<std::uint32_t> pixels;

  bool write(const std::string& file) const;
};

}  // namespace wevora::testing_host
