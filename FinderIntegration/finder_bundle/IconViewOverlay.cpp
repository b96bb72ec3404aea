#include "FinderIntegration/finder_bundle/IconViewOverlay.h"

#include <utility>

#include "FinderIntegration/finder_bundle/Tools/WVMethodOverload.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Base/Guard.h"

namespace wevora {
namespace {

using platform::CompositingOperation;
using platform::Implementation;
using platform::Runtime;
using platform::send;

constexpr const char* kDrawImageTypes = "v@:@";
constexpr const char* kDrawWithFrameTypes = "v@:{CGRect={CGPoint=dd}{CGSize=dd}}@";

/// Locks the focus even without a badge, so that the image always ends with one representation.
void drawInto(platform::Image& image, const ImageRef& badge) {
  // A square as tall as the image; the width is not considered.
  const double height = image.size().height;
  image.lockFocus();
  const platform::ScopeExit unlocked([&] { image.unlockFocus(); });
  if (badge) badge->drawInRect({0, 0, height, height}, {}, CompositingOperation::SourceOver, 1.0);
}

/// Paints the badge into the wrapped image and returns a new wrapper; null if the host has no
/// wrappers.
Id badgedWrapper(const Id& cell, const Id& wrapper, const Runtime& runtime,
                 const ProviderAccess& provider) {
  const ImageRef badge = provider().imageForBrowserCell(cell);
  if (badge) badge->setFlipped(false);
  const auto image = send<ImageRef>(wrapper, "_nsImage");
  if (image) drawInto(*image, badge);
  return send<Id>(send<Id>(runtime.classNamed("IKImageWrapper"), "alloc"),
                  "initWithNSImage:", image);
}

}  // namespace

IconViewOverlay::IconViewOverlay(Runtime& runtime, ProviderAccess provider) : runtime_(runtime) {
  const auto own = runtime.registerClass("IconViewOverlay");
  if (!own) return;
  own->addMethod("wv_drawImage:",
                 Implementation::of<void(Id)>(
                     [&runtime, provider = std::move(provider)](const Id& self, const Id& image) {
                       const Id shown = platform::catchAllOr(
                           image, [&] { return badgedWrapper(self, image, runtime, provider); });
                       send<void>(self, "wv_drawImage:", shown);
                     }),
                 kDrawImageTypes);
  own->addMethod(
      "wv_drawWithFrame:inView:",
      Implementation::of<void(Rect, Id)>([](const Id& self, Rect frame, const Id& inView) {
        send<void>(self, "wv_drawWithFrame:inView:", frame, inView);
      }),
      kDrawWithFrameTypes);
  own->addMethod("imageFrame", Implementation::of<Rect()>([](const Id&) { return imageFrame(); }),
                 "{CGRect={CGPoint=dd}{CGSize=dd}}@:");
}

void IconViewOverlay::load() {
  WVMethodOverload::overloadSelector("drawImage:", runtime_.classNamed("IKIconCell").get(),
                                     "wv_drawImage:", runtime_.classNamed("IconViewOverlay").get(),
                                     kDrawImageTypes);
  loadReflective();
}

void IconViewOverlay::loadReflective() {
  WVMethodOverload::overloadSelector(
      "drawImage:", runtime_.classNamed("IKFinderReflectiveIconCell").get(),
      "wv_drawImage:", runtime_.classNamed("IconViewOverlay").get(), kDrawImageTypes);
  loadDrawWithFrame();
}

void IconViewOverlay::loadDrawWithFrame() {
  WVMethodOverload::overloadSelector(
      "drawInteriorWithFrame:inView:", runtime_.classNamed("IKIconCell").get(),
      "wv_drawWithFrame:inView:", runtime_.classNamed("IconViewOverlay").get(),
      kDrawWithFrameTypes);
}

}  // namespace wevora
