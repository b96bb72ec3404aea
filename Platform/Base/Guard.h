#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace wevora::platform {

/// Runs `body` and discards any exception that it throws. Every callback from the host, GLib or
/// SQLite wraps its body in catchAll: an exception must not unwind through code that is not ours.
template <class Body>
void catchAll(Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (...) {  // NOLINT(bugprone-empty-catch): an error must not stop the host
  }
}

/// Like catchAll, for a body with a result: returns `fallback` if the body throws.
template <class Result, class Body>
Result catchAllOr(Result fallback, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    return fallback;
  }
}

/// Runs an action when its scope ends: by return, by exception or at the closing brace.
/// Errors: exceptions thrown by the action are discarded.
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

/// Holds an object whose destructor never runs. For function-local statics: other threads may still
/// use the object while the process runs its static destructors.
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
