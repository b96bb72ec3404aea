#include "Platform/IPC/NotificationQueue.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

namespace wevora::platform {
namespace {

/// A hash of a notification's name and its typed arguments.
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
  entries_.push_back({std::move(name), std::move(arguments), digest});
  while (exceedsLimits() && entries_.size() > 1) dropOneFor(entries_.back().name);
}

std::optional<NotificationQueue::Entry> NotificationQueue::take() {
  const MutexLock lock(mutex_);
  if (entries_.empty()) return std::nullopt;
  return remove(entries_.begin());
}

std::size_t NotificationQueue::count() const {
  const MutexLock lock(mutex_);
  return entries_.size();
}

bool NotificationQueue::isFull() const {
  return entries_.size() >= limits_.count || bytes_ >= limits_.bytes;
}

bool NotificationQueue::exceedsLimits() const {
  return entries_.size() > limits_.count || bytes_ > limits_.bytes;
}

void NotificationQueue::dropOneFor(const std::string& name) {
  const auto newest = std::prev(entries_.end());
  const auto oldest =
      std::find_if(entries_.begin(), newest, [&](const Entry& one) { return one.name == name; });
  remove(oldest != newest ? oldest : entries_.begin());
}

NotificationQueue::Entry NotificationQueue::remove(std::deque<Entry>::iterator place) {
  Entry removed = std::move(*place);
  entries_.erase(place);
  bytes_ -= g_variant_get_size(removed.arguments.get());
  const auto same = digests_.find(removed.digest);
  if (--same->second == 0) digests_.erase(same);
  return removed;
}

}  // namespace wevora::platform
