#include "Platform/Base/LocalNotificationCenter.h"

#include <algorithm>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

struct Observer {
  std::string name;
  LocalNotificationCenter::Handler handler;
  const void* object;

  bool matches(const Notification& notification) const {
    return name == notification.name && (object == nullptr || object == notification.object);
  }
};

}  // namespace

struct LocalNotificationCenter::State {
  Mutex mutex;
  std::vector<std::shared_ptr<Observer>> observers GUARDED_BY(mutex);
};

LocalNotificationCenter::LocalNotificationCenter() : state_(std::make_shared<State>()) {}
LocalNotificationCenter::~LocalNotificationCenter() = default;

LocalNotificationCenter& LocalNotificationCenter::defaultCenter() {
  static NeverDestroyed<LocalNotificationCenter> center;
  return *center;
}

std::unique_ptr<LocalNotificationCenter::Observation> LocalNotificationCenter::observe(
    std::string_view name, Handler handler, const void* object) {
  auto observer =
      std::make_shared<Observer>(Observer{std::string(name), std::move(handler), object});
  {
    const MutexLock lock(state_->mutex);
    state_->observers.push_back(observer);
  }
  return std::make_unique<Observation>(state_, std::move(observer));
}

void LocalNotificationCenter::post(const Notification& notification) {
  std::vector<std::shared_ptr<Observer>> receivers;
  {
    const MutexLock lock(state_->mutex);
    std::ranges::copy_if(state_->observers, std::back_inserter(receivers),
                         [&](const auto& observer) { return observer->matches(notification); });
  }
  for (const auto& observer : receivers) catchAll([&] { observer->handler(notification); });
}

LocalNotificationCenter::Observation::Observation(std::shared_ptr<State> state,
                                                  std::shared_ptr<void> observer)
    : state_(std::move(state)), observer_(std::move(observer)) {}

LocalNotificationCenter::Observation::~Observation() {
  const MutexLock lock(state_->mutex);
  std::erase_if(state_->observers,
                [this](const auto& observer) { return observer.get() == observer_.get(); });
}

}  // namespace wevora::platform
