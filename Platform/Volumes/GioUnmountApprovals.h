#pragma once

#include "Platform/Dispatch/Dispatch.h"
#include "Platform/Volumes/UnmountApproval.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::platform {

/// Approval sessions on GVolumeMonitor, which announces an unmount before it is made but takes no
/// answer. A dissenter is made real by holding a folder of the volume open for five seconds, so
/// that the kernel answers "busy".
/// Threads: the main thread. Owns: nothing; its collaborators must outlive its sessions.
/// Errors: a volume without a path of its own is not asked about.
class GioUnmountApprovals : public UnmountApprovals {
 public:
  GioUnmountApprovals(Dispatch& dispatch, const Volumes& volumes)
      : dispatch_(dispatch), volumes_(volumes) {}
  std::unique_ptr<ApprovalSession> createSession() override;

 private:
  Dispatch& dispatch_;
  const Volumes& volumes_;
};

/// Keeps the volume at `mountPoint` busy for five seconds of the dispatch's time.
void holdVolumeBusy(Dispatch& dispatch, const std::string& mountPoint);

}  // namespace wevora::platform
