#include "FinderIntegration/finder_bundle/WVIconCell.h"

#include "FinderIntegration/finder_bundle/Tools/WVMethodOverload.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Base/Guard.h"

namespace wevora {
namespace {

using platform::CompositingOperation;
using platform::Implementation;
using platform::Runtime;
using platform::send;

constexpr const char* kDrawIconTypes = "v@:{CGRect={CGPoint=dd}{CGSize=dd}}";
constexpr const char* kScaleFactorTypes = "d@:v";  // with the trailing v, as declared

constexpr double kListInset = 10;
constexpr double kColumnInset = 6;
constexpr double kMinimumHeight = 8;  // rows must be higher than this to have a badge

/// Calls the host's own drawing method, bypassing overrides in subclasses.
void drawAgain(const Id& cell, const Rect& frame, const Runtime& runtime) {
  const auto cells = runtime.classNamed("TListViewIconAndTextCell");
  if (!cells) return;
  if (const auto own = cells->instanceMethod("wv_drawIconWithFrame:"))
    own->implementation.invoke<void>(cell, frame);
}

void drawBadge(const Id& cell, const Rect& frame, platform::Image& badge, const Runtime& runtime) {
  const bool column = cell->isKindOf(runtime.classNamed("TColumnCell").get());
  const float side = frame.height > 32 ? 32.0F : 16.0F;
  badge.setFlipped(true);
  if (!(frame.height > kMinimumHeight)) return;
  // The inset is relative to the view's edge, not to the frame's.
  const Rect square{column ? kColumnInset : kListInset, frame.y + frame.height / 2 - side / 2, side,
                    side};
  badge.drawInRect(square, {}, CompositingOperation::SourceOver, 1.0);
}

void drawOver(const Id& cell, const Rect& frame, const Runtime& runtime,
              const ProviderAccess& provider) {
  const ImageRef badge = provider().iconForCell(cell);
  if (!send<ImageRef>(cell, "thumbnail")) {
    if (badge) badge->setFlipped(false);
    send<void>(cell, "setThumbnail:", badge);
    drawAgain(cell, frame, runtime);
  } else if (badge) {
    drawBadge(cell, frame, *badge, runtime);
  }
}

}  // namespace

WVIconCell::WVIconCell(Runtime& runtime, ProviderAccess provider) : runtime_(runtime) {
  const auto own = runtime.registerClass("WVIconCell");
  if (!own) return;
  own->addMethod("wv_drawIconWithFrame:",
                 Implementation::of<void(Rect)>(
                     [&runtime, provider = std::move(provider)](const Id& self, Rect frame) {
                       send<void>(self, "wv_drawIconWithFrame:", frame);
                       platform::catchAll([&] { drawOver(self, frame, runtime, provider); });
                     }),
                 kDrawIconTypes);
  own->addMethod("scaleFactor", Implementation::of<double()>([](const Id&) { return 1.0; }),
                 kScaleFactorTypes);
}

void WVIconCell::load() {
  WVMethodOverload::overloadSelector(
      "drawIconWithFrame:", runtime_.classNamed("TListViewIconAndTextCell").get(),
      "wv_drawIconWithFrame:", runtime_.classNamed("WVIconCell").get(), kDrawIconTypes);
  loadHack();
}

void WVIconCell::loadHack() {
  const auto snapshots = runtime_.classNamed("NSCGImageSnapshotRep");
  const auto own = runtime_.classNamed("WVIconCell")->instanceMethod("scaleFactor");
  if (snapshots && own) snapshots->addMethod("scaleFactor", own->implementation, kScaleFactorTypes);
}

std::optional<ItemURL> WVIconCell::pathForNode(const TFENode* node) {
  static const auto nodes = Runtime::shared().classNamed("FINode");
  if (node == nullptr) return std::nullopt;
  return send<std::optional<ItemURL>>(send<Id>(nodes, "nodeFromNodeRef:", *node), "previewItemURL");
}

}  // namespace wevora
