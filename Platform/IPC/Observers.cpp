#include "Platform/IPC/Observers.h"

#include <utility>

#include "Platform/Base/Guard.h"

namespace wevora::platform {

std::shared_ptr<const Observers::Observer> Observers::add(Observer observer) {
  std::erase_if(observers_, [](const auto& one) { return one.expired(); });
  auto added = std::make_shared<const Observer>(std::move(observer));
  observers_.push_back(added);
  return added;
}

void Observers::deliver(const DistributedNotification& notification) {
  const auto snapshot = observers_;  // handlers may change the list
  for (const auto& weak : snapshot) {
    const auto observer = weak.lock();
    if (!observer || observer->name != notification.name) continue;
    if (observer->object && *observer->object != notification.object.value_or("")) continue;
    catchAll([&] { observer->handler(notification); });
  }
}

std::vector<std::shared_ptr<const Observers::Observer>> Observers::all() {
  std::vector<std::shared_ptr<const Observer>> alive;
  for (const auto& weak : observers_)
    if (auto observer = weak.lock()) alive.push_back(std::move(observer));
  return alive;
}

}  // namespace wevora::platform
