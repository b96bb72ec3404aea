#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "Apps/agent_sim/EventCoalescer.h"
#include "Platform/Dispatch/Dispatch.h"
#include "Platform/IPC/DistributedNotificationCenter.h"

namespace wevora::agent_sim {

/// Posts the agent's notifications to the other processes of the user; each carries the agent's
/// object.
/// Thread-safety: main thread only.
/// Errors: the first notification that cannot be posted causes a warning.
class Announcer {
 public:
  using Warn = std::function<void(const std::string&)>;
  Announcer(platform::DistributedNotificationCenter& center, platform::Dispatch& dispatch,
            const platform::Clock& clock, std::string object, Warn warn)
      : center_(center),
        dispatch_(dispatch),
        object_(std::move(object)),
        warn_(std::move(warn)),
        events_(clock) {}

  const std::string& object() const noexcept { return object_; }

  /// Returns false when there is no session bus.
  bool post(const std::string& name, const platform::Dictionary& userInfo = {});
  /// Announces the agent now, and again after 1, 3 and 10 s: a listener that is still handling the
  /// exit of the previous agent misses the first announcement.
  bool becomeAvailable();
  /// Posts the event soon and, unless the item was removed, "Settled" five seconds after its last
  /// event: listeners cache what they have read of an item for four seconds.
  void event(const std::string& path, const std::string& word);
  /// Posts the event soon, and nothing later.
  void eventAsGiven(const std::string& path, const std::string& word);

 private:
  void postEvents();
  void postEventsAfter(std::chrono::nanoseconds wait);
  void scheduleSettled();
  void settled(const std::string& path);

  platform::DistributedNotificationCenter& center_;
  platform::Dispatch& dispatch_;
  const std::string object_;
  Warn warn_;
  EventCoalescer events_;
  std::set<std::string> changed_;         ///< paths with events since the last post
  std::map<std::string, int> unsettled_;  ///< pending "settled" timers of each path
  bool scheduled_ = false;                ///< postEvents is scheduled
  bool warned_ = false;
  std::shared_ptr<Announcer*> self_ =
      std::make_shared<Announcer*>(this);  ///< weakly referenced by delayed blocks
};

}  // namespace wevora::agent_sim
