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
      // Each drawing allocates a wrapper and releases it at its end, so the last one is reused.
      Implementation::of<Id()>(
          [reusable = std::shared_ptr<ImageWrapper>()](const Id& self) mutable {
            if (reusable.use_count() != 1)
              reusable = std::make_shared<ImageWrapper>(static_cast<platform::Class&>(*self));
            reusable->image.reset();
            return Id(reusable);
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
