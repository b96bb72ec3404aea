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
  const void* object = nullptr;  ///< the sender's identity; never dereferenced
};

/// Delivers notifications to the observers of their name, inside this process.
/// Thread-safety: any thread. `post` calls the handlers on the posting thread, with no lock held. A
///   handler may run once more while another thread destroys its Observation.
/// Ownership: keeps each handler until its Observation is destroyed.
/// Errors: exceptions thrown by a handler are discarded; the remaining observers are still called.
class LocalNotificationCenter {
 public:
  using Handler = std::function<void(const Notification&)>;

  /// Ends the observation when destroyed.
  class Observation;

  LocalNotificationCenter();
  ~LocalNotificationCenter();
  LocalNotificationCenter(const LocalNotificationCenter&) = delete;
  LocalNotificationCenter& operator=(const LocalNotificationCenter&) = delete;

  /// The center of this process.
  static LocalNotificationCenter& defaultCenter();

  /// Observes the notifications of one object, or of all objects if `object` is null.
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
