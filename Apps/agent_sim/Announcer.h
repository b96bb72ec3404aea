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

/// Tells the other processes of the user what the agent does, in notifications that carry the
/// agent's object.
/// Threads: the main thread. Owns: the events that wait to be told.
/// Errors: what cannot be told is warned of once.
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

  /// False where nobody can be told.
  bool post(const std::string& name, const platform::Dictionary& userInfo = {});
  /// Now, and again after a while: a listener that is just noticing the end of the agent before
  /// this one begins to listen only then.
  bool becomeAvailable();
  /// Told soon, and, when nothing more has happened to the path, once again after five seconds: a
  /// listener that has just read an item takes it for unchanged until it is four seconds old.
  void event(const std::string& path, const std::string& word);
  /// Told soon, and only once.
  void eventAsGiven(const std::string& path, const std::string& word);

 private:
  void tellEvents();
  void tellEventsAfter(std::chrono::nanoseconds wait);
  void rememberWhatMoved();
  void settled(const std::string& path);

  platform::DistributedNotificationCenter& center_;
  platform::Dispatch& dispatch_;
  const std::string object_;
  Warn warn_;
  EventCoalescer events_;
  std::set<std::string> moved_;           ///< since events were told last
  std::map<std::string, int> unsettled_;  ///< how often a path waits to be told again
  bool telling_ = false;                  ///< a time is set
  bool warned_ = false;
  std::shared_ptr<Announcer*> self_ = std::make_shared<Announcer*>(this);  ///< for delayed blocks
};

}  // namespace wevora::agent_sim
