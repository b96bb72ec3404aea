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

constexpr std::string_view kSidebarPicture = "sidebar.tiff";
constexpr platform::Size kSidebarSize{32, 32};  // points
constexpr const char* kName = "WVOutlineViewDelegate";
constexpr const char* kProxies = "wvr_proxies";
constexpr const char* kWillDisplay = "outlineView:willDisplayCell:forTableColumn:item:";

/// The host's own setter, which the sidebar's class has under the new name since the exchange.
void callOwnSetter(const Id& view, const Id& delegate, const Runtime& runtime) {
  const auto sidebars = runtime.classNamed("TSidebarView");
  if (!sidebars) return;
  if (const auto setter = sidebars->instanceMethod("wvr_setDelegate:"))
    setter->implementation.invoke<void>(view, delegate);
}

/// The view keeps every proxy that was made for it, as its delegate's place does not: a proxy that
/// wraps another needs it, and one that goes leaves the view without a delegate.
void keep(const Id& view, const Id& proxy) {
  auto proxies = view->instanceVariable<std::vector<Id>>(kProxies).value_or(std::vector<Id>());
  proxies.push_back(proxy);
  view->setInstanceVariable(kProxies, std::move(proxies));
}

void setDelegate(const Id& view, const Id& delegate, const Runtime& runtime) {
  if (!delegate) return callOwnSetter(view, nullptr, runtime);
  const auto proxy = WVOutlineViewDelegate::make(runtime);
  proxy->setRealDelegate(delegate);
  proxy->setView(view);
  keep(view, proxy);
  callOwnSetter(view, proxy, runtime);
}

WVOutlineViewDelegate& proxyOf(const Id& self) {
  return dynamic_cast<WVOutlineViewDelegate&>(*self);
}

/// To the real delegate, if it knows the message; zero otherwise.
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

/// Opened anew for each drawing of the drive's row.
std::optional<Bundle> openBundle(const InstalledPaths& paths) {
  return platform::catchAllOr(std::optional<Bundle>(),
                              [&] { return Bundle::bundleWithPath(kBundlePath, paths); });
}

/// Read from its file each time: nothing is kept between two draws.
ImageRef drivePicture(const std::optional<Bundle>& bundle) {
  auto image = std::make_shared<Image>();
  if (bundle)
    if (const auto file = bundle->pathForImageResource(kSidebarPicture))
      image->addRepresentations(platform::imageRepsWithContentsOfFile(*file));
  image->setSize(kSidebarSize);
  return image;
}

void setPicture(const Id& cell, const Runtime& runtime, const std::optional<Bundle>& bundle) {
  const Id picture = send<Id>(send<Id>(runtime.classNamed("NSSidebarImage"), "alloc"),
                              "initWithSourceImage:", drivePicture(bundle));
  send<void>(cell, "setImage:", picture);
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
                      if (drive) platform::catchAll([&] { setPicture(cell, runtime, bundle); });
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
    if (const Id view = this->view()) callOwnSetter(view, nullptr, runtime_);
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
