#include "FinderIntegration/finder_bundle/WVRDesktopIcon.h"

#include <chrono>
#include <utility>

#include "FinderIntegration/finder_bundle/Tools/WVMethodOverload.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Base/Guard.h"
#include "Platform/Graphics/BitmapContext.h"
#include "Platform/Graphics/GraphicsContext.h"

namespace wevora {
namespace {

using platform::BitmapContext;
using platform::CompositingOperation;
using platform::CurrentTarget;
using platform::Implementation;
using platform::Runtime;
using platform::send;

constexpr const char* kDrawLayerTypes = "@@:@^{CGContext=}";  // with an object result, as declared
constexpr std::chrono::nanoseconds kReloadDelay{2'000'000'000};

/// A length in whole points; 0 for a negative or too long one.
std::size_t wholePoints(double points) {
  const bool fits = points >= 0 && points <= static_cast<double>(platform::Bitmap::kLongestSide);
  return fits ? static_cast<std::size_t>(points) : 0U;
}

void drawOver(const Id& icon, const Id& layer, DrawingTarget& context,
              const ProviderAccess& provider) {
  const auto iconLayer = icon->instanceVariable<Id>("_icon");
  if (!iconLayer || !layer || *iconLayer != layer) return;
  const ImageRef badge = provider().iconForDesktopCell(icon);
  if (badge) badge->setFlipped(true);
  const auto bitmap = CGImageCreateWithNSImage(badge);
  if (!bitmap) return;
  const Rect frame = send<Rect>(layer, "frame");
  platform::contextDrawImage(context, {0, 0, frame.width, frame.height}, bitmap);
}

}  // namespace

platform::BitmapRef CGImageCreateWithNSImage(const ImageRef& image) {
  if (!image) return nullptr;
  const platform::Size size = image->size();
  const auto bitmap = BitmapContext::create({.width = wholePoints(size.width),
                                             .height = wholePoints(size.height),
                                             .bitsPerComponent = 8,
                                             .bytesPerRow = 0,
                                             .colorSpace = platform::ColorSpace::GenericRGB,
                                             .bitmapInfo = 0x2002,
                                             .flipped = false});
  if (!bitmap) return nullptr;
  {
    const CurrentTarget current(*bitmap);
    image->drawInRect({0, 0, size.width, size.height}, {}, CompositingOperation::Copy, 1.0);
  }
  return bitmap->createImage();
}

WVRDesktopIcon::WVRDesktopIcon(Runtime& runtime, platform::Queue& mainQueue,
                               ProviderAccess provider, FinderToolsAccess finderTools)
    : runtime_(runtime), mainQueue_(mainQueue), finderTools_(std::move(finderTools)) {
  const auto own = runtime.registerClass("WVRDesktopIcon");
  if (!own) return;
  own->addMethod("wv_drawLayer:inContext:",
                 Implementation::of<void(Id, DrawingTarget*)>(
                     [provider = std::move(provider)](const Id& self, const Id& layer,
                                                      DrawingTarget* inContext) {
                       send<void>(self, "wv_drawLayer:inContext:", layer, inContext);
                       if (inContext == nullptr) return;
                       platform::catchAll([&] { drawOver(self, layer, *inContext, provider); });
                     }),
                 kDrawLayerTypes);
  own->addMethod("node", Implementation::of<Id()>([](const Id&) { return Id(); }), "@@:");
}

void WVRDesktopIcon::load() {
  WVMethodOverload::overloadSelector(
      "drawLayer:inContext:", runtime_.classNamed("TDesktopIcon").get(),
      "wv_drawLayer:inContext:", runtime_.classNamed("WVRDesktopIcon").get(), kDrawLayerTypes);
  platform::catchAll([this] {
    const Id desktop =
        send<Id>(runtime_.classNamed("TDesktopViewController"), "sharedDesktopViewController");
    send<void>(send<Id>(desktop, "view"), "setNeedsDisplay:", true);
  });
  mainQueue_.after(kReloadDelay,
                   [finderTools = finderTools_] { finderTools().updateDesktopForce(false); });
}

}  // namespace wevora
