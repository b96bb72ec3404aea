#include "Apps/agent_sim/Announcer.h"

#include <chrono>
#include <utility>

#include "Connector/DaemonConnectionNames.h"

namespace wevora::agent_sim {
namespace {

constexpr std::chrono::seconds kSettled{5};

platform::Array valuesOf(const std::vector<std::string>& texts) {
  return {texts.begin(), texts.end()};
}

}  // namespace

bool Announcer::post(const std::string& name, const platform::Dictionary& userInfo) {
  const bool sent = center_.post({name, object_, userInfo});
  if (!sent && !std::exchange(warned_, true))
    warn_("cannot reach a session bus: file managers are not notified of changes");
  return sent;
}

bool Announcer::becomeAvailable() {
  const bool posted = post(kIDaemonConnectionBecomeAvailableNotification);
  for (const int seconds : {1, 3, 10})
    dispatch_.mainQueue().after(std::chrono::seconds(seconds), [weak = std::weak_ptr(self_)] {
      if (const auto self = weak.lock())
        (*self)->post(kIDaemonConnectionBecomeAvailableNotification);
    });
  return posted;
}

void Announcer::event(const std::string& path, const std::string& word) {
  if (word != kEventRemoved) changed_.insert(path);
  eventAsGiven(path, word);
}

void Announcer::scheduleSettled() {
  if (changed_.empty()) return;
  for (const auto& path : changed_) ++unsettled_[path];
  dispatch_.mainQueue().after(kSettled,
                              [weak = std::weak_ptr(self_), paths = std::exchange(changed_, {})] {
                                if (const auto self = weak.lock())
                                  for (const auto& path : paths) (*self)->settled(path);
                              });
}

void Announcer::settled(const std::string& path) {
  const auto found = unsettled_.find(path);
  if (--found->second > 0) return;
  unsettled_.erase(found);
  eventAsGiven(path, kEventSettled);
}

void Announcer::eventAsGiven(const std::string& path, const std::string& word) {
  events_.add(path, word);
  if (scheduled_) return;
  // Never at once, even when it is due: events of the same burst share one notification.
  scheduled_ = true;
  postEventsAfter(*events_.untilDue());
}

void Announcer::postEvents() {
  scheduleSettled();
  if (const auto batch = events_.take())
    post(kIDaemonConnectionWVREventNotification,
         {{kIDaemonConnectionWVREventNotificationPathsKey, valuesOf(batch->paths)},
          {kIDaemonConnectionWVREventNotificationEventsKey, valuesOf(batch->words)}});
  const auto wait = events_.untilDue();
  scheduled_ = wait.has_value();
  if (wait) postEventsAfter(*wait);
}

void Announcer::postEventsAfter(std::chrono::nanoseconds wait) {
  dispatch_.mainQueue().after(wait, [weak = std::weak_ptr(self_)] {
    if (const auto self = weak.lock()) (*self)->postEvents();
  });
}

}  // namespace wevora::agent_sim
