#pragma once

#include "Platform/Volumes/ApprovalRegistrations.h"

namespace wevora::platform {

/// An approval service in which a test asks.
/// Threads: one. Owns: the notes of what was done, in order. Errors: none.
class ManualUnmountApprovals : public UnmountApprovals {
 public:
  std::unique_ptr<ApprovalSession> createSession() override {
    if (refuseSessions) return nullptr;
    return std::make_unique<Session>(*this);
  }

  /// What a person's request to unmount leads to: a dissenter, or none to approve.
  std::optional<Dissenter> ask(const Disk& disk) const {
    return scheduled ? registrations.ask(disk) : std::nullopt;
  }
  std::optional<Dissenter> ask(const std::string& mountPoint) const {
    return ask(Disk{{{kDiskDescriptionVolumePathKey, mountPoint}}});
  }

  bool refuseSessions = false;
  bool scheduled = false;
  ApprovalRegistrations registrations;
  std::vector<std::string> done;

 private:
  class Session : public ApprovalSession {
   public:
    explicit Session(ManualUnmountApprovals& service) : service_(service) {
      note("create session");
    }
    ~Session() override { note("release session"); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void scheduleOnMainLoop() override {
      note("schedule");
      service_.scheduled = true;
    }
    void unscheduleFromMainLoop() override {
      note("unschedule");
      service_.scheduled = false;
    }
    void registerUnmountApproval(Callback callback, void* context) override {
      note("register");
      service_.registrations.add(callback, context);
    }
    void unregisterUnmountApproval(Callback callback, void* context) override {
      note("unregister");
      service_.registrations.remove(callback, context);
    }

   private:
    void note(const char* what) { service_.done.emplace_back(what); }
    ManualUnmountApprovals& service_;
  };
};

}  // namespace wevora::platform
