#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// A notification inside this process.
struct Notification {
  std::string name;
  const void* object = nullptr;  ///< who it is about: an identity, never followed
};

/// Hands notifications to the observers of their name, inside this process.
/// Threads: any; a notification is delivered on the thread that posts it, with no lock held. An
///   observation that is being let go on another thread may be called one last time.
/// Owns: the observers' handlers, each until its Observation goes.
/// Errors: what a handler throws is dropped; the other observers are still told.
class LocalNotificationCenter {
 public:
  using Handler = std::function<void(const Notification&)>;

  /// Ends the observation when destroyed.
  class Observation;

  LocalNotificationCenter();
  ~LocalNotificationCenter();
  LocalNotificationCenter(const LocalNotificationCenter&) = delete;
  LocalNotificationCenter& operator=(const LocalNotificationCenter&) = delete;

  /// The one of the process.
  static LocalNotificationCenter& defaultCenter();

  /// Hears of one object, or of all where it is null.
  std::unique_ptr<Observation> observe(std::string_view name, Handler handler,
                                       const void* object = nullptr);
  void post(const Notification& notification);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

class LocalNotificationCenter::Observation {
 public:
  Observation(std::shared_ptr<State> state, std::shared_ptr<void> observer);
  ~Observation();
  Observation(const Observation&) = delete;
  Observation& operator=(const Observation&) = delete;

 private:
  std::shared_ptr<State> state_;
  std::shared_ptr<void> observer_;
};

}  // namespace wevora::platform
