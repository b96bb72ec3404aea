#pragma once

#include <string>
#include <vector>

#include "Tests/HostSession/Screen.h"

namespace wevora::testing_host {

// How long the file manager takes; empty when the probe does not reply.

struct FrameTime {
  double all;   ///< milliseconds, from its first to its last phase
  double work;  ///< CPU time of the main thread meanwhile
};
/// Scrolls by so many points with each frame.
std::vector<FrameTime> frameTimes(const Screen& screen, unsigned frames, double step,
                                  unsigned window = 0);

struct DrawTime {
  double drawing;  ///< microseconds, of one cell
  double reading;  ///< access(2) of its file
};
/// The medians of each visible cell.
std::vector<DrawTime> drawTimes(const Screen& screen, unsigned times, unsigned window = 0);

struct Painted {
  std::string folder;     ///< URI
  unsigned cells = 0;     ///< visible cells, at least
  unsigned textures = 0;  ///< in the drawing of each cell
};
/// Activates an action and waits until everything is painted: milliseconds; 0 after a timeout.
double timeUntilPainted(const Screen& screen, const std::string& action, const Painted& wanted,
                        unsigned window = 0);

}  // namespace wevora::testing_host
