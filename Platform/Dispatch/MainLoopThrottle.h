#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include <glib.h>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// Throttles all of our work on the host's main loop. All task sources of a main context share one
/// throttle. Work that arrives runs at once, in a batch that is limited by a number of steps and by
/// a time slice. After each batch every task source yields: the throttle pauses until the host's
/// sources of all lower priorities (drawing, idle work) have run, or until the loop has iterated a
/// few times. A burst of our work slows the host down but never starves it.
/// Thread-safety: task sources are created, destroyed and run on the context's thread;
///   TaskSource::ready may be called from any thread. `mutex_` is a leaf lock; it is not held while
///   a step runs.
/// Errors: exceptions thrown by a step are discarded.
class MainLoopThrottle : public std::enable_shared_from_this<MainLoopThrottle> {
 public:
  /// The maximum number of steps in a batch. A batch that uses up its time slice ends earlier.
  static constexpr int kMaxBatchSteps = 64;

  /// The scheduling order of ready task sources. Notifications produce blocks, so blocks run first;
  /// otherwise blocks would pile up during a burst of notifications.
  enum class Order { blocks, notifications };

  /// Performs one unit of work; returns whether more is pending.
  using Step = std::function<bool()>;

  /// A kind of work that is scheduled under the throttle of its context.
  class TaskSource {
   public:
    TaskSource(GMainContext* context, Order order, Step step);
    ~TaskSource();
    TaskSource(const TaskSource&) = delete;
    TaskSource& operator=(const TaskSource&) = delete;

    /// Schedules the step.
    void ready();

   private:
    friend class MainLoopThrottle;
    struct State;
    std::shared_ptr<MainLoopThrottle> throttle_;
    std::shared_ptr<State> state_;
  };

  /// The throttle of a context, created at first use. Null means the default context.
  static std::shared_ptr<MainLoopThrottle> of(GMainContext* context);

  explicit MainLoopThrottle(GMainContext* context);
  ~MainLoopThrottle();
  MainLoopThrottle(const MainLoopThrottle&) = delete;
  MainLoopThrottle& operator=(const MainLoopThrottle&) = delete;

 private:
  struct Source;
  GSource* attachSource(GMainContext* context, GSourceFuncs& functions, int priority);
  static MainLoopThrottle& throttleOf(GSource* source);
  static gboolean prepare(GSource* source, gint* timeout) noexcept;
  static gboolean dispatch(GSource* source, GSourceFunc function, gpointer data) noexcept;
  static gboolean lowerPrioritiesRan(GSource* source, GSourceFunc function, gpointer data) noexcept;

  void add(std::shared_ptr<TaskSource::State> taskSource);
  void remove(const std::shared_ptr<TaskSource::State>& taskSource);
  void workArrived();
  void runBatch();
  std::shared_ptr<TaskSource::State> next();
  void pause();
  void loopIterated();
  void resume() REQUIRES(mutex_);

  GSource* work_ = nullptr;
  GSource* resume_ = nullptr;  ///< has the lowest priority; its dispatch ends the pause
  Mutex mutex_;
  std::vector<std::shared_ptr<TaskSource::State>> taskSources_
      GUARDED_BY(mutex_);  ///< sorted by order
  bool paused_ GUARDED_BY(mutex_) = false;
  int iterations_ GUARDED_BY(mutex_) = 0;  ///< of the main loop, since the pause began
};

}  // namespace wevora::platform
