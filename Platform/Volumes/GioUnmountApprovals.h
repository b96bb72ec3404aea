#pragma once

#include "Platform/Dispatch/Dispatch.h"
#include "Platform/Volumes/UnmountApproval.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::platform {

/// Approval sessions based on GVolumeMonitor, which announces an unmount but accepts no veto. To
/// enforce a dissenter, the volume's root directory is held open for five seconds, so that the
/// kernel refuses the unmount with EBUSY.
/// Thread-safety: main thread only.
/// Ownership: the collaborators must outlive the sessions.
/// Errors: an unmount of a mount without a local path is not announced to the callbacks.
class GioUnmountApprovals : public UnmountApprovals {
 public:
  GioUnmountApprovals(Dispatch& dispatch, const Volumes& volumes)
      : dispatch_(dispatch), volumes_(volumes) {}
  std::unique_ptr<ApprovalSession> createSession() override;

 private:
  Dispatch& dispatch_;
  const Volumes& volumes_;
};

/// Keeps the volume at `mountPoint` busy for five seconds of the dispatch's clock.
void holdVolumeBusy(Dispatch& dispatch, const std::string& mountPoint);

}  // namespace wevora::platform
