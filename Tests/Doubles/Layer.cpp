#include "Tests/Doubles/Layer.h"

namespace wevora::platform {

std::shared_ptr<Class> Layer::registerIn(Runtime& runtime) {
  auto made = runtime.registerClass("CALayer");
  if (!made) made = runtime.classNamed("CALayer");
  const auto layer = [](const Id& self) { return std::dynamic_pointer_cast<Layer>(self); };
  made->addMethod("frame", Implementation::of<Rect()>([layer](const Id& self) {
                    const auto receiver = layer(self);
                    return receiver ? receiver->frame() : Rect();
                  }),
                  "{CGRect={CGPoint=dd}{CGSize=dd}}@:");
  made->addMethod("setNeedsDisplay", Implementation::of<void()>([layer](const Id& self) {
                    if (const auto receiver = layer(self)) receiver->setNeedsDisplay();
                  }),
                  "v@:");
  made->addMethod("needsDisplay", Implementation::of<bool()>([layer](const Id& self) {
                    const auto receiver = layer(self);
                    return receiver && receiver->needsDisplay();
                  }),
                  "B@:");
  return made;
}

}  // namespace wevora::platform
