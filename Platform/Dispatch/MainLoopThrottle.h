#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include <glib.h>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// What all of our work takes of a main loop that is the host's. Work begins at once when it comes,
/// but after each batch all of it rests, until the host's sources of every lower priority (drawing,
/// idle work) have had a turn, or the loop has turned a few times: a storm of our work slows the
/// host down and stops nothing of it.
/// Threads: lanes are made, destroyed and run on the context's thread; `ready` from any.
/// Owns: two sources of the main context; not the lanes.
/// Errors: none; what a step throws ends there.
class MainLoopThrottle : public std::enable_shared_from_this<MainLoopThrottle> {
 public:
  /// A batch ends with so many steps, and sooner where they take long.
  static constexpr int kStepsOfBatch = 64;

  /// What comes first where both wait: what is told to the bundle leads to blocks, so these do not
  /// pile up while more is told.
  enum class Order { blocks, notifications };

  /// Does one piece of work; false where none is left behind it.
  using Step = std::function<bool()>;

  /// One kind of work.
  /// Threads: as its share. Owns: a share of the share, and the step. Errors: none.
  class TaskSource {
   public:
    TaskSource(GMainContext* context, Order order, Step step);
    ~TaskSource();
    TaskSource(const TaskSource&) = delete;
    TaskSource& operator=(const TaskSource&) = delete;

    /// There is something to do.
    void ready();

   private:
    friend class MainLoopThrottle;
    struct State;
    std::shared_ptr<MainLoopThrottle> share_;
    std::shared_ptr<State> state_;
  };

  /// That of a context, null being the default one; made at first use.
  static std::shared_ptr<MainLoopThrottle> of(GMainContext* context);

  explicit MainLoopThrottle(GMainContext* context);
  ~MainLoopThrottle();
  MainLoopThrottle(const MainLoopThrottle&) = delete;
  MainLoopThrottle& operator=(const MainLoopThrottle&) = delete;

 private:
  struct Source;
  GSource* attached(GMainContext* context, GSourceFuncs& functions, int priority);
  static MainLoopThrottle& shareOf(GSource* source);
  static gboolean prepare(GSource* source, gint* timeout) noexcept;
  static gboolean dispatch(GSource* source, GSourceFunc function, gpointer data) noexcept;
  static gboolean othersHadTheirTurn(GSource* source, GSourceFunc function, gpointer data) noexcept;

  void add(std::shared_ptr<TaskSource::State> taskSource);
  void remove(const std::shared_ptr<TaskSource::State>& taskSource);
  void workIsThere();
  void runBatch();
  std::shared_ptr<TaskSource::State> next();
  void rest();
  void turned();
  void goOn() REQUIRES(mutex_);

  GSource* work_ = nullptr;
  GSource* others_ = nullptr;  ///< runs when nothing of the host is left to do
  Mutex mutex_;
  std::vector<std::shared_ptr<TaskSource::State>> taskSources_
      GUARDED_BY(mutex_);  ///< in their order
  bool resting_ GUARDED_BY(mutex_) = false;
  int turns_ GUARDED_BY(mutex_) = 0;  ///< of the loop, since the rest began
};

}  // namespace wevora::platform
