#include "Platform/IPC/NotificationQueue.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

namespace wevora::platform {
namespace {

/// Of what a notification says: its name, and its arguments with their types.
std::size_t digestOf(const std::string& name, GVariant* arguments) {
  const auto* data = static_cast<const char*>(g_variant_get_data(arguments));
  const std::hash<std::string_view> hash;
  std::size_t digest = hash(name);
  for (const std::string_view part :
       {std::string_view(g_variant_get_type_string(arguments)),
        data == nullptr ? std::string_view()
                        : std::string_view(data, g_variant_get_size(arguments))})
    digest = digest * 1099511628211U + hash(part);
  return digest;
}

}  // namespace

void NotificationQueue::add(std::string name, VariantPtr arguments) {
  const auto digest = digestOf(name, arguments.get());
  const MutexLock lock(mutex_);
  if (isFull() && digests_.contains(digest)) return;
  bytes_ += g_variant_get_size(arguments.get());
  ++digests_[digest];
  waiting_.push_back({std::move(name), std::move(arguments), digest});
  while (isOver() && waiting_.size() > 1) dropOneFor(waiting_.back().name);
}

std::optional<NotificationQueue::Waiting> NotificationQueue::take() {
  const MutexLock lock(mutex_);
  if (waiting_.empty()) return std::nullopt;
  return remove(waiting_.begin());
}

std::size_t NotificationQueue::count() const {
  const MutexLock lock(mutex_);
  return waiting_.size();
}

bool NotificationQueue::isFull() const {
  return waiting_.size() >= limits_.count || bytes_ >= limits_.bytes;
}

bool NotificationQueue::isOver() const {
  return waiting_.size() > limits_.count || bytes_ > limits_.bytes;
}

void NotificationQueue::dropOneFor(const std::string& name) {
  const auto newest = std::prev(waiting_.end());
  const auto oldest =
      std::find_if(waiting_.begin(), newest, [&](const Waiting& one) { return one.name == name; });
  remove(oldest != newest ? oldest : waiting_.begin());
}

NotificationQueue::Waiting NotificationQueue::remove(std::deque<Waiting>::iterator place) {
  Waiting removed = std::move(*place);
  waiting_.erase(place);
  bytes_ -= g_variant_get_size(removed.arguments.get());
  const auto same = digests_.find(removed.digest);
  if (--same->second == 0) digests_.erase(same);
  return removed;
}

}  // namespace wevora::platform
