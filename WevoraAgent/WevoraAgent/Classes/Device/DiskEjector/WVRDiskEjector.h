#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "Platform/Volumes/UnmountApproval.h"

namespace wevora {

/// The dissenter status "busy".
inline constexpr std::uint32_t kDAReturnBusy = 0xF8DA0002;

/// Decides whether a disk may be unmounted. Called on the main thread.
/// Errors: must not throw.
class WVRDiskEjectorEventReceiver {
 public:
  virtual ~WVRDiskEjectorEventReceiver() = default;
  /// Whether the receiver implements the decision. If not, every unmount is refused.
  virtual bool implementsDiskShouldBeUnmounted() const noexcept { return false; }
  /// Returns true if the receiver has released the volume. Must be quick and must not call the
  /// ejector.
  // -diskShouldBeUnmounted:
  virtual bool diskShouldBeUnmounted(const platform::Disk&) { return false; }
};

/// Approves or refuses unmounts on behalf of its receiver. Without a receiver it refuses them as
/// busy, so that no volume is unmounted under an open database. The main thread only.
/// Ownership: owns its approval session. The receiver owns the ejector.
/// Errors: without an approval session it is not asked, and unmounts proceed.
class WVRDiskEjector {
 public:
  /// Registers its callbacks.
  // -init
  explicit WVRDiskEjector(platform::UnmountApprovals& approvals);
  ~WVRDiskEjector();
  WVRDiskEjector(const WVRDiskEjector&) = delete;
  WVRDiskEjector& operator=(const WVRDiskEjector&) = delete;

  // -eventReceiver
  WVRDiskEjectorEventReceiver* eventReceiver() const noexcept { return eventReceiver_.load(); }
  // -setEventReceiver:
  void setEventReceiver(WVRDiskEjectorEventReceiver* receiver) noexcept {
    eventReceiver_.store(receiver);
  }

  /// A second call registers a second time.
  // -registerCallbacks
  void registerCallbacks();
  // -deregisterCallbacks
  void deregisterCallbacks();
  // -processUnmountApprovalForDisk:
  bool processUnmountApprovalForDisk(const platform::Disk& disk);

 private:
  platform::UnmountApprovals& approvals_;
  std::unique_ptr<platform::ApprovalSession> approvalSession_;
  std::atomic<WVRDiskEjectorEventReceiver*> eventReceiver_{nullptr};
};

/// The callback of the approval service; `context` is the ejector.
std::optional<platform::Dissenter> unmountApproval(const platform::Disk& disk,
                                                   void* context) noexcept;

}  // namespace wevora
