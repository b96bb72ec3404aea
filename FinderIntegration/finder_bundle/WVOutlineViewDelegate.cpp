#include "FinderIntegration/finder_bundle/WVOutlineViewDelegate.h"

#include <utility>
#include <vector>

#include "FinderIntegration/wevoraLoader/InstalledBundle.h"
#include "Platform/Base/Guard.h"
#include "Platform/Graphics/ImageFiles.h"
#include "Platform/Installation/Bundle.h"

namespace wevora {
namespace {

using platform::Bundle;
using platform::Class;
using platform::Image;
using platform::Implementation;
using platform::InstalledPaths;
using platform::Runtime;
using platform::send;

constexpr std::string_view kSidebarImage = "sidebar.tiff";
constexpr platform::Size kSidebarSize{32, 32};  // points
constexpr const char* kName = "WVOutlineViewDelegate";
constexpr const char* kProxies = "wvr_proxies";
constexpr const char* kWillDisplay = "outlineView:willDisplayCell:forTableColumn:item:";

/// Calls the host's setter, which has the new selector since the exchange.
void callOriginalSetter(const Id& view, const Id& delegate, const Runtime& runtime) {
  const auto sidebars = runtime.classNamed("TSidebarView");
  if (!sidebars) return;
  if (const auto setter = sidebars->instanceMethod("wvr_setDelegate:"))
    setter->implementation.invoke<void>(view, delegate);
}

/// Makes the view own the proxy. Its delegate reference is weak, a wrapped proxy must stay alive
/// for the proxy around it, and a destroyed proxy resets the view's delegate.
void attachProxy(const Id& view, const Id& proxy) {
  auto proxies = view->instanceVariable<std::vector<Id>>(kProxies).value_or(std::vector<Id>());
  proxies.push_back(proxy);
  view->setInstanceVariable(kProxies, std::move(proxies));
}

void setDelegate(const Id& view, const Id& delegate, const Runtime& runtime) {
  if (!delegate) return callOriginalSetter(view, nullptr, runtime);
  const auto proxy = WVOutlineViewDelegate::make(runtime);
  proxy->setRealDelegate(delegate);
  proxy->setView(view);
  attachProxy(view, proxy);
  callOriginalSetter(view, proxy, runtime);
}

WVOutlineViewDelegate& proxyOf(const Id& self) {
  return dynamic_cast<WVOutlineViewDelegate&>(*self);
}

/// Forwards to the real delegate; returns zero if the delegate does not implement the selector.
template <class Result, class... Arguments>
Implementation forwarding(const char* selector) {
  return Implementation::of<Result(Arguments...)>([selector](const Id& self, Arguments... values) {
    const Id real = proxyOf(self).realDelegate();
    if (!real || !real->respondsToSelector(selector)) return Result();
    return send<Result, Arguments...>(real, selector, values...);
  });
}

bool isDrive(const Id& item) {
  if (!item || !item->respondsToSelector("name")) return false;
  const auto name = send<std::optional<std::string>>(item, "name");
  return name == "(w) Drive" || name == "wDrive";
}

/// Opened for each drawing of the drive's row, so that a bundle installed later is found.
std::optional<Bundle> openBundle(const InstalledPaths& paths) {
  return platform::catchAllOr(std::optional<Bundle>(),
                              [&] { return Bundle::bundleWithPath(kBundlePath, paths); });
}

/// Reads the file on each call: nothing is cached between two draws.
ImageRef driveImage(const std::optional<Bundle>& bundle) {
  auto image = std::make_shared<Image>();
  if (bundle)
    if (const auto file = bundle->pathForImageResource(kSidebarImage))
      image->addRepresentations(platform::imageRepsWithContentsOfFile(*file));
  image->setSize(kSidebarSize);
  return image;
}

void setDriveImage(const Id& cell, const Runtime& runtime, const std::optional<Bundle>& bundle) {
  const Id image = send<Id>(send<Id>(runtime.classNamed("NSSidebarImage"), "alloc"),
                            "initWithSourceImage:", driveImage(bundle));
  send<void>(cell, "setImage:", image);
}

void addAccessors(Class& own) {
  own.addMethod(
      "realDelegate",
      Implementation::of<Id()>([](const Id& self) { return proxyOf(self).realDelegate(); }), "@@:");
  own.addMethod("setRealDelegate:", Implementation::of<void(Id)>([](const Id& self, const Id& d) {
                  proxyOf(self).setRealDelegate(d);
                }),
                "v@:@");
  own.addMethod(
      "view", Implementation::of<Id()>([](const Id& self) { return proxyOf(self).view(); }), "@@:");
  own.addMethod("setView:", Implementation::of<void(Id)>([](const Id& self, const Id& view) {
                  proxyOf(self).setView(view);
                }),
                "v@:@");
}

void addDelegateMethods(Class& own, const Runtime& runtime, const InstalledPaths& paths) {
  own.addMethod(kWillDisplay,
                Implementation::of<void(Id, Id, Id, Id)>(
                    [&runtime, paths](const Id& self, const Id& outlineView, const Id& cell,
                                      const Id& column, const Id& item) {
                      static const auto forward = forwarding<void, Id, Id, Id, Id>(kWillDisplay);
                      const bool drive = platform::catchAllOr(false, [&] { return isDrive(item); });
                      const auto bundle = drive ? openBundle(paths) : std::nullopt;
                      forward.invoke<void>(self, outlineView, cell, column, item);
                      if (drive) platform::catchAll([&] { setDriveImage(cell, runtime, bundle); });
                    }),
                "v@:@@@@");
  const auto add = [&](const char* selector, Implementation body, const char* types) {
    own.addMethod(selector, std::move(body), types);
  };
  constexpr const char* dataCell = "outlineView:dataCellForTableColumn:item:";
  constexpr const char* viewFor = "outlineView:viewForTableColumn:item:";
  constexpr const char* isGroup = "outlineView:isGroupItem:";
  constexpr const char* height = "outlineView:heightOfRowByItem:";
  add(dataCell, forwarding<Id, Id, Id, Id>(dataCell), "@@:@@@");
  add(viewFor, forwarding<Id, Id, Id, Id>(viewFor), "@@:@@@");
  add(isGroup, forwarding<bool, Id, Id>(isGroup), "B@:@@");
  add(height, forwarding<double, Id, Id>(height), "d@:@@");
}

}  // namespace

std::shared_ptr<Class> WVOutlineViewDelegate::registerIn(Runtime& runtime, InstalledPaths paths) {
  auto own = runtime.registerClass(kName);
  if (!own) return runtime.classNamed(kName);
  addAccessors(*own);
  addDelegateMethods(*own, runtime, paths);
  own->addMethod("wvr_setDelegate:",
                 Implementation::of<void(Id)>([&runtime](const Id& self, const Id& delegate) {
                   setDelegate(self, delegate, runtime);
                 }),
                 "v@:@");
  return own;
}

std::shared_ptr<WVOutlineViewDelegate> WVOutlineViewDelegate::make(const Runtime& runtime) {
  return std::make_shared<WVOutlineViewDelegate>(*runtime.classNamed(kName), runtime);
}

WVOutlineViewDelegate::~WVOutlineViewDelegate() {
  realDelegate_.reset();
  platform::catchAll([this] {
    if (const Id view = this->view()) callOriginalSetter(view, nullptr, runtime_);
  });
}

bool WVOutlineViewDelegate::respondsToSelector(std::string_view selector) const {
  const Id real = realDelegate();
  return real && real->respondsToSelector(selector);
}

std::optional<std::string> WVOutlineViewDelegate::methodSignatureForSelector(
    std::string_view selector) const {
  const Id real = realDelegate();
  return real ? real->methodSignatureForSelector(selector) : std::nullopt;
}

void WVOutlineViewDelegate::forwardInvocation(platform::Invocation& invocation) {
  const Id real = realDelegate();
  if (real && real->methodSignatureForSelector(invocation.selector()))
    invocation.invokeWithTarget(real);
}

}  // namespace wevora
