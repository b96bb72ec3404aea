#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace wevora::platform {

inline constexpr const char* kDiskDescriptionVolumePathKey = "DAVolumePath";
inline constexpr const char* kDiskDescriptionVolumeKindKey = "DAVolumeKind";

/// A disk that somebody wants to unmount, as it describes itself; what it does not know is absent.
struct Disk {
  std::map<std::string, std::string> description;
};

/// The record that refuses an unmount.
struct Dissenter {
  std::uint32_t status = 0;
  std::string statusString;

  friend bool operator==(const Dissenter&, const Dissenter&) = default;
};

/// A registration with the service that asks before it unmounts a disk.
/// Threads: the main thread. Owns: its place in the main loop. Errors: none.
class ApprovalSession {
 public:
  /// Answers with a dissenter to refuse, with none to approve. Must not throw.
  using Callback = std::optional<Dissenter> (*)(const Disk& disk, void* context) noexcept;

  virtual ~ApprovalSession() = default;
  virtual void scheduleOnMainLoop() = 0;
  virtual void unscheduleFromMainLoop() = 0;
  /// For every disk. Registered twice, it is called twice.
  virtual void registerUnmountApproval(Callback callback, void* context) = 0;
  /// Ends every registration of the pair.
  virtual void unregisterUnmountApproval(Callback callback, void* context) = 0;
};

/// Where approval sessions come from.
/// Threads: the main thread. Owns: nothing. Errors: null when the service cannot be had.
class UnmountApprovals {
 public:
  virtual ~UnmountApprovals() = default;
  virtual std::unique_ptr<ApprovalSession> createSession() = 0;
};

}  // namespace wevora::platform
