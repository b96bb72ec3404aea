#pragma once

#include <gtk/gtk.h>
#include <string>

namespace wevora::testing_host {

// What the file manager's main thread takes its time for. Each answers an invocation.

/// Scrolls by so many points with each frame, and tells for each how long GTK took from its first
/// to its last phase, and how long the thread was at work meanwhile: milliseconds.
void answerFrameTimes(GtkWidget* window, guint frames, double step,
                      GDBusMethodInvocation* invocation);

/// For each visible cell the medians of so many times: to be drawn, what GTK keeps of its children
/// being there, and access(2) of its file; microseconds.
GVariant* drawTimes(GtkWidget* window, guint times);

struct WantedCells {
  std::string folder;  ///< URI
  guint count = 0;     ///< at least
  guint textures = 0;  ///< in the drawing of each, at least
};
/// Tells how long it takes from now until a frame is drawn in which all visible cells are as
/// wanted: milliseconds.
void answerOncePainted(GtkWidget* window, const WantedCells& wanted,
                       GDBusMethodInvocation* invocation);

}  // namespace wevora::testing_host
