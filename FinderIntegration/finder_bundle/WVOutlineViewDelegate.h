#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora {

/// A proxy between a sidebar view of the host and its real delegate. It sets the image of the
/// drive's row and forwards all messages; it responds only to selectors of the real delegate. The
/// main thread only.
/// Ownership: delegate and view are weak references.
/// Errors: a message that the real delegate does not implement is dropped and returns zero; a
///   missing image file leaves an empty image.
class WVOutlineViewDelegate : public platform::Object {
 public:
  /// Registers the class "WVOutlineViewDelegate", whose `wvr_setDelegate:` is for sidebar views.
  /// The runtime must outlive it.
  static std::shared_ptr<platform::Class> registerIn(platform::Runtime& runtime,
                                                     platform::InstalledPaths paths);
  static std::shared_ptr<WVOutlineViewDelegate> make(const platform::Runtime& runtime);
  WVOutlineViewDelegate(platform::Class& isa, const platform::Runtime& runtime)
      : Object(isa), runtime_(runtime) {}
  /// Resets the delegate of a view that is still alive.
  ~WVOutlineViewDelegate() override;

  // -realDelegate
  Id realDelegate() const { return realDelegate_.lock(); }
  // -setRealDelegate:
  void setRealDelegate(const Id& realDelegate) { realDelegate_ = realDelegate; }
  // -view
  Id view() const { return view_.lock(); }
  // -setView:
  void setView(const Id& view) { view_ = view; }

  // -respondsToSelector:
  bool respondsToSelector(std::string_view selector) const override;
  // -methodSignatureForSelector:
  std::optional<std::string> methodSignatureForSelector(std::string_view selector) const override;
  // -forwardInvocation:
  void forwardInvocation(platform::Invocation& invocation) override;

 private:
  const platform::Runtime& runtime_;
  std::weak_ptr<platform::Object> realDelegate_;
  std::weak_ptr<platform::Object> view_;
};

}  // namespace wevora
