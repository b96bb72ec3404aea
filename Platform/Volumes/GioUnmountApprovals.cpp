#include "Platform/Volumes/GioUnmountApprovals.h"

#include <fcntl.h>

#include <gio/gio.h>

#include "Platform/Base/Descriptor.h"
#include "Platform/Base/GObjectPtr.h"
#include "Platform/Base/Guard.h"
#include "Platform/Volumes/ApprovalRegistrations.h"

namespace wevora::platform {
namespace {

constexpr std::chrono::seconds kBusyTime{5};

std::optional<std::string> pathOf(GMount* mount) {
  const GObjectPtr<GFile> root(g_mount_get_root(mount));
  const GText path(root ? g_file_get_path(root.get()) : nullptr);
  return path ? std::optional<std::string>(path.get()) : std::nullopt;
}

class GioApprovalSession : public ApprovalSession {
 public:
  GioApprovalSession(Dispatch& dispatch, const Volumes& volumes, GVolumeMonitor* monitor)
      : dispatch_(dispatch), volumes_(volumes), monitor_(monitor) {}
  ~GioApprovalSession() override { GioApprovalSession::unscheduleFromMainLoop(); }
  GioApprovalSession(const GioApprovalSession&) = delete;
  GioApprovalSession& operator=(const GioApprovalSession&) = delete;

  void scheduleOnMainLoop() override {
    if (handler_ == 0)
      handler_ = g_signal_connect(monitor_.get(), "mount-pre-unmount",
                                  G_CALLBACK(&GioApprovalSession::preUnmount), this);
  }
  void unscheduleFromMainLoop() override {
    if (handler_ != 0) g_signal_handler_disconnect(monitor_.get(), handler_);
    handler_ = 0;
  }
  void registerUnmountApproval(Callback callback, void* context) override {
    registrations_.add(callback, context);
  }
  void unregisterUnmountApproval(Callback callback, void* context) override {
    registrations_.remove(callback, context);
  }

 private:
  static void preUnmount(GVolumeMonitor*, GMount* mount, gpointer self) noexcept {
    catchAll([&] { static_cast<GioApprovalSession*>(self)->ask(mount); });
  }

  void ask(GMount* mount) {
    const auto path = pathOf(mount);
    if (!path) return;
    Disk disk{{{kDiskDescriptionVolumePathKey, *path}}};
    if (auto kind = volumes_.fileSystemTypeOf(*path))
      disk.description[kDiskDescriptionVolumeKindKey] = std::move(*kind);
    if (registrations_.ask(disk)) holdVolumeBusy(dispatch_, *path);
  }

  Dispatch& dispatch_;
  const Volumes& volumes_;
  const GObjectPtr<GVolumeMonitor> monitor_;
  ApprovalRegistrations registrations_;
  gulong handler_ = 0;
};

}  // namespace

std::unique_ptr<ApprovalSession> GioUnmountApprovals::createSession() {
  GVolumeMonitor* monitor = g_volume_monitor_get();
  if (monitor == nullptr) return nullptr;
  return std::make_unique<GioApprovalSession>(dispatch_, volumes_, monitor);
}

void holdVolumeBusy(Dispatch& dispatch, const std::string& mountPoint) {
  // The block owns the descriptor, so it is closed whether the block runs or is dropped.
  const auto held = std::make_shared<const Descriptor>(
      ::open(mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!*held) return;
  dispatch.mainQueue().after(kBusyTime, [held] {});
}

}  // namespace wevora::platform
