#include "Hosts/Common/View.h"

#include "Hosts/Common/NewClass.h"

namespace wevora::hosts {

using platform::Id;
using platform::Implementation;

std::shared_ptr<platform::Class> View::registerIn(platform::Runtime& runtime) {
  auto views = newClass(runtime, "NSView");
  views->addMethod(
      "setNeedsDisplay:", Implementation::of<void(bool)>([](const Id& self, bool needed) {
        static_cast<const View&>(*self).setNeedsDisplay(needed);
      }),
      "v@:B");
  views->addMethod("subviews", Implementation::of<std::vector<Id>()>([](const Id& self) {
                     return static_cast<const View&>(*self).subviews();
                   }),
                   "@@:");
  return views;
}

}  // namespace wevora::hosts
