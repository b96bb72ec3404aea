#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "Platform/Volumes/UnmountApproval.h"

namespace wevora {

/// The status that refuses an unmount as busy.
inline constexpr std::uint32_t kDAReturnBusy = 0xF8DA0002;

/// Who decides whether a disk may go.
/// Threads: the main thread. Owns: nothing here. Errors: must not throw.
class WVRDiskEjectorEventReceiver {
 public:
  virtual ~WVRDiskEjectorEventReceiver() = default;
  /// Whether the receiver can give a verdict; one that cannot refuses every unmount.
  virtual bool implementsDiskShouldBeUnmounted() const noexcept { return false; }
  /// True: the receiver has let go of the volume. Must be quick, and must not call the ejector.
  // -diskShouldBeUnmounted:
  virtual bool diskShouldBeUnmounted(const platform::Disk&) { return false; }
};

/// Asked before any disk is unmounted; passes the question to its receiver, and refuses as busy
/// when there is nobody to ask: no volume may go under an open database.
/// Threads: the main thread.
/// Owns: its approval session; not its receiver, which owns the ejector.
/// Errors: without a session no question comes, and unmounts go ahead.
class WVRDiskEjector {
 public:
  /// Registers at once.
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

  /// Called twice, it registers twice.
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

/// The function that the approval service calls; `context` is the ejector.
std::optional<platform::Dissenter> unmountApproval(const platform::Disk& disk,
                                                   void* context) noexcept;

}  // namespace wevora
