#pragma once

#include <memory>

#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// "IKImageWrapper": the argument of `drawImage:`, which wraps an image.
/// Thread-safety: main thread only.
class ImageWrapper : public platform::Object {
 public:
  using Object::Object;
  static std::shared_ptr<platform::Class> registerIn(platform::Runtime& runtime);

  platform::ImageRef image;
};

}  // namespace wevora::hosts
