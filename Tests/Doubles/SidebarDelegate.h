#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Platform/Graphics/Bitmap.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::platform {

/// Replaces the delegate method of the host's sidebars by one that sets a red image of 16 points on
/// the row "(w) Drive", as the bundle does. The runtime must have the host's sidebar classes.
inline void setDriveImageByDelegate(Runtime& runtime) {
  const auto image = std::make_shared<Image>(Size{16, 16});
  const std::vector<ImageRep> reps = {
      {.bitmap = Bitmap::make(16, 16, std::vector<std::uint32_t>(16 * 16, 0xFFFF0000)),
       .size = {16, 16}}};
  image->addRepresentations(reps);
  const auto delegates = runtime.classNamed("TSidebarViewController");
  delegates->addMethod(
      "test_willDisplay:",
      Implementation::of<void(Id, Id, Id, Id)>(
          [&runtime, image](const Id&, const Id&, const Id& cell, const Id&, const Id&) {
            if (send<std::optional<std::string>>(cell, "name") != "(w) Drive") return;
            const Id made = send<Id>(runtime.classNamed("NSSidebarImage"), "alloc");
            send<void>(cell, "setImage:", send<Id>(made, "initWithSourceImage:", ImageRef(image)));
          }),
      "v@:@@@@");
  if (!delegates->exchangeImplementations("outlineView:willDisplayCell:forTableColumn:item:",
                                          "test_willDisplay:"))
    throw std::logic_error("the sidebar's delegate has no such method");
}

}  // namespace wevora::platform
