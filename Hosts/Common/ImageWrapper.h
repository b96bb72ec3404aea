#pragma once

#include <memory>

#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// An image on its way to a cell: "IKImageWrapper".
/// Threads: the main thread. Owns: a share of the image. Errors: none.
class ImageWrapper : public platform::Object {
 public:
  using Object::Object;
  static std::shared_ptr<platform::Class> registerIn(platform::Runtime& runtime);

  platform::ImageRef image;
};

}  // namespace wevora::hosts
