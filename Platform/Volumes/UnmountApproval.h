#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace wevora::platform {

inline constexpr const char* kDiskDescriptionVolumePathKey = "DAVolumePath";
inline constexpr const char* kDiskDescriptionVolumeKindKey = "DAVolumeKind";

/// The description of a disk that is to be unmounted; unknown values are absent.
struct Disk {
  std::map<std::string, std::string> description;
};

/// A veto against an unmount.
struct Dissenter {
  std::uint32_t status = 0;
  std::string statusString;

  friend bool operator==(const Dissenter&, const Dissenter&) = default;
};

/// A session of the service that asks for approval before it unmounts a disk.
/// Thread-safety: main thread only.
class ApprovalSession {
 public:
  /// Returns a dissenter to refuse, nullopt to approve. Must not throw.
  using Callback = std::optional<Dissenter> (*)(const Disk& disk, void* context) noexcept;

  virtual ~ApprovalSession() = default;
  virtual void scheduleOnMainLoop() = 0;
  virtual void unscheduleFromMainLoop() = 0;
  /// Registers a callback for every disk. A pair that is registered twice is called twice.
  virtual void registerUnmountApproval(Callback callback, void* context) = 0;
  /// Removes every registration of the pair.
  virtual void unregisterUnmountApproval(Callback callback, void* context) = 0;
};

/// Creates approval sessions.
/// Thread-safety: main thread only.
class UnmountApprovals {
 public:
  virtual ~UnmountApprovals() = default;
  /// Null if the service is not available.
  virtual std::unique_ptr<ApprovalSession> createSession() = 0;
};

}  // namespace wevora::platform
