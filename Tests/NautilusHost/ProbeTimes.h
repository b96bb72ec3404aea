#pragma once

#include <gtk/gtk.h>
#include <string>

namespace wevora::testing_host {

// Measures the file manager's main thread.

/// Scrolls by so many points with each frame, and returns for each how long GTK took from its first
/// to its last phase, and the CPU time of the thread meanwhile: milliseconds.
void returnFrameTimes(GtkWidget* window, guint frames, double step,
                      GDBusMethodInvocation* invocation);

/// For each visible cell the medians of so many measurements: of drawing it, with the nodes of its
/// children cached, and of access(2) of its file; microseconds.
GVariant* drawTimes(GtkWidget* window, guint times);

struct WantedCells {
  std::string folder;  ///< URI
  guint count = 0;     ///< at least
  guint textures = 0;  ///< in the drawing of each, at least
};
/// Returns the time from now until a frame is drawn in which all visible cells are as wanted:
/// milliseconds.
void returnOncePainted(GtkWidget* window, const WantedCells& wanted,
                       GDBusMethodInvocation* invocation);

}  // namespace wevora::testing_host
