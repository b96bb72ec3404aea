#include "Hosts/Common/ImageWrapper.h"

#include "Hosts/Common/NewClass.h"

namespace wevora::hosts {

using platform::Id;
using platform::ImageRef;
using platform::Implementation;

std::shared_ptr<platform::Class> ImageWrapper::registerIn(platform::Runtime& runtime) {
  auto wrappers = newClass(runtime, "IKImageWrapper");
  wrappers->addClassMethod(
      "alloc",
      // One is asked for with each drawing, and let go with it: the same does again.
      Implementation::of<Id()>([free = std::shared_ptr<ImageWrapper>()](const Id& self) mutable {
        if (free.use_count() != 1)
          free = std::make_shared<ImageWrapper>(static_cast<platform::Class&>(*self));
        free->image.reset();
        return Id(free);
      }),
      "@@:");
  wrappers->addMethod("initWithNSImage:",
                      Implementation::of<Id(ImageRef)>([](const Id& self, const ImageRef& shown) {
                        static_cast<ImageWrapper&>(*self).image = shown;
                        return self;
                      }),
                      "@@:@");
  wrappers->addMethod("_nsImage", Implementation::of<ImageRef()>([](const Id& self) {
                        return static_cast<ImageWrapper&>(*self).image;
                      }),
                      "@@:");
  return wrappers;
}

}  // namespace wevora::hosts
