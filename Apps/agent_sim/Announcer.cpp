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
    warn_("no session bus can be reached: file managers are not told what happens");
  return sent;
}

bool Announcer::becomeAvailable() {
  const bool told = post(kIDaemonConnectionBecomeAvailableNotification);
  for (const int seconds : {1, 3, 10})
    dispatch_.mainQueue().after(std::chrono::seconds(seconds), [weak = std::weak_ptr(self_)] {
      if (const auto self = weak.lock())
        (*self)->post(kIDaemonConnectionBecomeAvailableNotification);
    });
  return told;
}

void Announcer::event(const std::string& path, const std::string& word) {
  if (word != kEventRemoved) moved_.insert(path);
  eventAsGiven(path, word);
}

void Announcer::rememberWhatMoved() {
  if (moved_.empty()) return;
  for (const auto& path : moved_) ++unsettled_[path];
  dispatch_.mainQueue().after(kSettled,
                              [weak = std::weak_ptr(self_), paths = std::exchange(moved_, {})] {
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
  if (telling_) return;
  // Later even where it is due: what happens in one go is told as one.
  telling_ = true;
  tellEventsAfter(*events_.untilDue());
}

void Announcer::tellEvents() {
  rememberWhatMoved();
  if (const auto batch = events_.take())
    post(kIDaemonConnectionWVREventNotification,
         {{kIDaemonConnectionWVREventNotificationPathsKey, valuesOf(batch->paths)},
          {kIDaemonConnectionWVREventNotificationEventsKey, valuesOf(batch->words)}});
  const auto wait = events_.untilDue();
  telling_ = wait.has_value();
  if (wait) tellEventsAfter(*wait);
}

void Announcer::tellEventsAfter(std::chrono::nanoseconds wait) {
  dispatch_.mainQueue().after(wait, [weak = std::weak_ptr(self_)] {
    if (const auto self = weak.lock()) (*self)->tellEvents();
  });
}

}  // namespace wevora::agent_sim
