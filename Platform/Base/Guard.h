#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace wevora::platform {

/// Runs `body` and ends whatever it throws here: the trampoline at every boundary to the host,
/// GLib or SQLite, which must never see one of our exceptions.
template <class Body>
void catchAll(Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing inside a host may fail loudly
  }
}

/// The same for a body with a result; `fallback` stands for a body that threw.
template <class Result, class Body>
Result catchAllOr(Result fallback, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    return fallback;
  }
}

/// Runs an action when its scope ends, by whatever road.
/// Threads: one. Owns: the action. Errors: what the action throws is dropped.
template <class Action>
class ScopeExit {
 public:
  explicit ScopeExit(Action action) : action_(std::move(action)) {}
  ~ScopeExit() { catchAll(action_); }
  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;

 private:
  Action action_;
};

/// An object that is made once and never destroyed: other threads may still use it while the
/// process exits.
/// Threads: as T. Owns: T, for ever. Errors: those of T's constructor.
template <class T>
class NeverDestroyed {
 public:
  template <class... Args>
  explicit NeverDestroyed(Args&&... args) {
    new (storage_) T(std::forward<Args>(args)...);
  }
  ~NeverDestroyed() = default;
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  T& operator*() noexcept { return *std::launder(reinterpret_cast<T*>(storage_)); }
  T* operator->() noexcept { return &**this; }

 private:
  alignas(T) std::byte storage_[sizeof(T)];
};

}  // namespace wevora::platform
