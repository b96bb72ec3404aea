#include "Apps/agent_sim/FolderWatch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <optional>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <glib-unix.h>

#include "Platform/Base/Descriptor.h"
#include "Platform/Base/Guard.h"
#include "Platform/Base/Mutex.h"

namespace wevora::agent_sim {
namespace {

using platform::catchAll;
using platform::Descriptor;
using platform::Mutex;
using platform::MutexLock;

constexpr std::uint32_t kWatched = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY |
                                   IN_CLOSE_WRITE | IN_ATTRIB | IN_ONLYDIR | IN_DONT_FOLLOW |
                                   IN_EXCL_UNLINK;

std::error_code lastError() {
  return {errno, std::generic_category()};
}

FolderEvent::Kind kindOf(std::uint32_t mask) {
  if ((mask & IN_Q_OVERFLOW) != 0) return FolderEvent::Kind::lost;
  if ((mask & IN_UNMOUNT) != 0) return FolderEvent::Kind::unmounted;
  if ((mask & IN_ISDIR) == 0) return FolderEvent::Kind::item;
  if ((mask & (IN_CREATE | IN_MOVED_TO)) != 0) return FolderEvent::Kind::folderArrived;
  if ((mask & (IN_DELETE | IN_MOVED_FROM)) != 0) return FolderEvent::Kind::folderLeft;
  return FolderEvent::Kind::item;
}

}  // namespace

struct FolderWatch::State {
  explicit State(Handler eventHandler)
      : handler(std::move(eventHandler)), inotify(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (!inotify) unavailable = lastError();
  }

  std::error_code watch(const std::string& folder) {
    if (!inotify) return unavailable;
    const MutexLock lock(mutex);
    const int number = ::inotify_add_watch(inotify.get(), folder.c_str(), kWatched);
    if (number < 0) return lastError();
    forgetPathOf(number);
    if (const auto other = numbers.find(folder); other != numbers.end()) {
      // An earlier folder with this path, which was moved.
      ::inotify_rm_watch(inotify.get(), other->second);
      paths.erase(other->second);
    }
    paths[number] = folder;
    numbers[folder] = number;
    return {};
  }

  void forgetPathOf(int number) REQUIRES(mutex) {
    const auto known = paths.find(number);
    if (known == paths.end()) return;
    numbers.erase(known->second);
    paths.erase(known);
  }

  void forgetBelow(const std::string& folder) {
    const MutexLock lock(mutex);
    const std::string below = folder == "/" ? folder : folder + "/";
    auto place = numbers.lower_bound(folder);
    while (place != numbers.end() && place->first.starts_with(folder)) {
      if (place->first != folder && !place->first.starts_with(below)) {
        ++place;  // a sibling with this prefix in its name
        continue;
      }
      ::inotify_rm_watch(inotify.get(), place->second);
      paths.erase(place->second);
      place = numbers.erase(place);
    }
  }

  /// Returns nullopt for a removed watch.
  std::optional<FolderEvent> eventOf(const inotify_event& event) {
    const auto kind = kindOf(event.mask);
    if (kind == FolderEvent::Kind::lost) return FolderEvent{kind, "", ""};
    const MutexLock lock(mutex);
    const auto known = paths.find(event.wd);
    if (known == paths.end()) return std::nullopt;
    FolderEvent result{kind, known->second, event.len > 0 ? event.name : ""};
    if ((event.mask & (IN_IGNORED | IN_UNMOUNT)) != 0) forgetPathOf(event.wd);
    if ((event.mask & IN_IGNORED) != 0) return std::nullopt;
    return result;
  }

  std::vector<FolderEvent> readSome() {
    alignas(inotify_event) std::array<char, 65536> buffer{};
    const auto count = ::read(inotify.get(), buffer.data(), buffer.size());
    std::vector<FolderEvent> events;
    for (std::size_t at = 0; count > 0 && at < static_cast<std::size_t>(count);) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
      at += sizeof(inotify_event) + event->len;
      // Repeated writes cause runs of equal events.
      if (auto read = eventOf(*event); read && (events.empty() || events.back() != *read))
        events.push_back(std::move(*read));
    }
    return events;
  }

  static gboolean readable(gint /*descriptor*/, GIOCondition /*condition*/,
                           gpointer self) noexcept {
    // Holds a reference: the handler may destroy the watch, and is not called after that.
    const auto state = *static_cast<std::shared_ptr<State>*>(self);
    catchAll([&] {
      for (const auto& event : state->readSome()) {
        if (state->ended) return;
        if (event.kind == FolderEvent::Kind::folderLeft)
          state->forgetBelow(event.folder == "/" ? "/" + event.name
                                                 : event.folder + "/" + event.name);
        catchAll([&] { state->handler(event); });
      }
    });
    return G_SOURCE_CONTINUE;
  }

  Handler handler;
  Descriptor inotify;
  std::error_code unavailable;
  guint source = 0;
  bool ended = false;

  mutable Mutex mutex;
  std::map<int, std::string> paths GUARDED_BY(mutex);
  std::map<std::string, int> numbers GUARDED_BY(mutex);
};

FolderWatch::FolderWatch(Handler handler) : state_(std::make_shared<State>(std::move(handler))) {
  if (!state_->inotify) return;
  auto reference = std::make_unique<std::shared_ptr<State>>(state_);
  state_->source =
      g_unix_fd_add_full(G_PRIORITY_DEFAULT, state_->inotify.get(), G_IO_IN, &State::readable,
                         reference.release(), [](gpointer held) noexcept {
                           const std::unique_ptr<std::shared_ptr<State>> owned(
                               static_cast<std::shared_ptr<State>*>(held));
                         });
}

FolderWatch::~FolderWatch() {
  state_->ended = true;
  if (state_->source != 0) g_source_remove(state_->source);
}

std::error_code FolderWatch::watch(const std::string& folder) {
  return state_->watch(folder);
}

void FolderWatch::forgetBelow(const std::string& folder) {
  state_->forgetBelow(folder);
}

std::size_t FolderWatch::watched() const {
  const MutexLock lock(state_->mutex);
  return state_->paths.size();
}

}  // namespace wevora::agent_sim
