#include "WevoraAgent/WevoraAgent/Classes/Device/DiskEjector/WVRDiskEjector.h"

#include "Platform/Base/Guard.h"

namespace wevora {

WVRDiskEjector::WVRDiskEjector(platform::UnmountApprovals& approvals) : approvals_(approvals) {
  registerCallbacks();
}

WVRDiskEjector::~WVRDiskEjector() {
  deregisterCallbacks();
}

void WVRDiskEjector::registerCallbacks() {
  if (!approvalSession_) {
    approvalSession_ = approvals_.createSession();
    if (approvalSession_) approvalSession_->scheduleOnMainLoop();
  }
  if (approvalSession_) approvalSession_->registerUnmountApproval(&unmountApproval, this);
}

void WVRDiskEjector::deregisterCallbacks() {
  if (!approvalSession_) return;
  approvalSession_->unregisterUnmountApproval(&unmountApproval, this);
  approvalSession_->unscheduleFromMainLoop();
  approvalSession_.reset();
}

bool WVRDiskEjector::processUnmountApprovalForDisk(const platform::Disk& disk) {
  auto* receiver = eventReceiver();
  if (receiver == nullptr || !receiver->implementsDiskShouldBeUnmounted()) return false;
  return receiver->diskShouldBeUnmounted(disk);
}

std::optional<platform::Dissenter> unmountApproval(const platform::Disk& disk,
                                                   void* context) noexcept {
  auto& ejector = *static_cast<WVRDiskEjector*>(context);
  const bool approved =
      platform::catchAllOr(false, [&] { return ejector.processUnmountApprovalForDisk(disk); });
  if (approved) return std::nullopt;
  return platform::Dissenter{kDAReturnBusy, ""};
}

}  // namespace wevora
