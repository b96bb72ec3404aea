#include "FinderIntegration/finder_bundle/BadgeImages.h"

#include <string_view>

#include "FinderIntegration/wevoraLoader/InstalledBundle.h"
#include "Platform/Installation/Bundle.h"

namespace wevora {
namespace {

constexpr platform::Rect kSmall{0, 0, 8.0, 8.0};  // points

platform::ImageRef flippedCopy(const platform::ImageRef& image) {
  if (!image) return nullptr;
  auto copy = image->copy();
  copy->setFlipped(true);
  return copy;
}

}  // namespace

BadgeImages BadgeImages::load(const platform::InstalledPaths& paths) {
  BadgeImages badges;
  // From the installed bundle, not from the running one.
  const auto bundle = platform::Bundle::bundleWithPath(kBundlePath, paths);
  if (!bundle) return badges;
  const auto fill = [&](std::string_view name, platform::ImageRef& image,
                        platform::ImageRef& flipped, platform::BitmapRef& small) {
    image = bundle->imageForResource(name);
    flipped = flippedCopy(image);
    small = image ? image->CGImageForProposedRect(kSmall) : nullptr;
  };
  fill("w.icns", badges.redImage, badges.redImageFlipped, badges.red);
  fill("ok.icns", badges.greenImage, badges.greenImageFlipped, badges.green);
  fill("backup.icns", badges.blueImage, badges.blueImageFlipped, badges.blue);
  return badges;
}

}  // namespace wevora
