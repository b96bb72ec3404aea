#pragma once

#include "Platform/Volumes/ApprovalRegistrations.h"

namespace wevora::platform {

/// A fake approval service in which the test requests the unmounts. It records the calls in order.
class ManualUnmountApprovals : public UnmountApprovals {
 public:
  std::unique_ptr<ApprovalSession> createSession() override {
    if (refuseSessions) return nullptr;
    return std::make_unique<Session>(*this);
  }

  /// Requests an unmount; returns the first dissenter, nullopt if approved.
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
      record("create session");
    }
    ~Session() override { record("release session"); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void scheduleOnMainLoop() override {
      record("schedule");
      service_.scheduled = true;
    }
    void unscheduleFromMainLoop() override {
      record("unschedule");
      service_.scheduled = false;
    }
    void registerUnmountApproval(Callback callback, void* context) override {
      record("register");
      service_.registrations.add(callback, context);
    }
    void unregisterUnmountApproval(Callback callback, void* context) override {
      record("unregister");
      service_.registrations.remove(callback, context);
    }

   private:
    void record(const char* what) { service_.done.emplace_back(what); }
    ManualUnmountApprovals& service_;
  };
};

}  // namespace wevora::platform
