#include "Tests/NautilusHost/Timings.h"

namespace wevora::testing_host {
namespace {

template <class Pair>
std::vector<Pair> pairsOf(const Screen::Variant& reply) {
  std::vector<Pair> pairs;
  if (!reply) return pairs;
  const Screen::Variant list(g_variant_get_child_value(reply.get(), 0));
  for (gsize i = 0; i < g_variant_n_children(list.get()); ++i) {
    double first = 0;
    double second = 0;
    g_variant_get_child(list.get(), i, "(dd)", &first, &second);
    pairs.push_back({first, second});
  }
  return pairs;
}

}  // namespace

std::vector<FrameTime> frameTimes(const Screen& screen, unsigned frames, double step,
                                  unsigned window) {
  return pairsOf<FrameTime>(
      screen.call("FrameTimes", g_variant_new("(uud)", window, frames, step)));
}

std::vector<DrawTime> drawTimes(const Screen& screen, unsigned times, unsigned window) {
  return pairsOf<DrawTime>(screen.call("DrawTimes", g_variant_new("(uu)", window, times)));
}

double timeUntilPainted(const Screen& screen, const std::string& action, const Painted& wanted,
                        unsigned window) {
  const auto reply = screen.call(
      "TimeUntilPainted", g_variant_new("(ussuu)", window, action.c_str(), wanted.folder.c_str(),
                                        wanted.cells, wanted.textures));
  double time = 0;
  if (reply) g_variant_get(reply.get(), "(d)", &time);
  return time;
}

}  // namespace wevora::testing_host
