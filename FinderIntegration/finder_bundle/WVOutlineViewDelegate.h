#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora {

/// Stands between a sidebar view of the host and the delegate that the host gave it, and gives the
/// drive's row its own picture. It passes on everything, and answers to nothing that the real
/// delegate does not answer to.
/// Threads: the main thread. Owns: nothing; delegate and view are not kept alive.
/// Errors: what the real delegate does not know is dropped and yields zero; a picture that is not
///   there leaves an empty one.
class WVOutlineViewDelegate : public platform::Object {
 public:
  /// The class "WVOutlineViewDelegate", whose `wvr_setDelegate:` is made for sidebar views. The
  /// runtime outlives them.
  static std::shared_ptr<platform::Class> registerIn(platform::Runtime& runtime,
                                                     platform::InstalledPaths paths);
  static std::shared_ptr<WVOutlineViewDelegate> make(const platform::Runtime& runtime);
  WVOutlineViewDelegate(platform::Class& isa, const platform::Runtime& runtime)
      : Object(isa), runtime_(runtime) {}
  /// A view that is still there is left without a delegate.
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
