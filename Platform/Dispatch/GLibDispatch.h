#pragma once

#include <memory>
#include <string_view>

#include "Platform/Dispatch/Dispatch.h"

namespace wevora::platform {

class WorkerPool;

/// Dispatch on GLib: the main queue runs from the default GMainContext, which is the main loop of
/// every host, under MainLoopThrottle. The other queues run on a WorkerPool.
/// Thread-safety: any thread, but created and destroyed on the main thread.
class GLibDispatch : public Dispatch {
 public:
  GLibDispatch();
  ~GLibDispatch() override;
  GLibDispatch(const GLibDispatch&) = delete;
  GLibDispatch& operator=(const GLibDispatch&) = delete;

  Queue& mainQueue() override;
  std::shared_ptr<Queue> serialQueue(std::string_view name) override;
  std::shared_ptr<OperationQueue> operationQueue(std::size_t maxConcurrent) override;

 private:
  class MainQueue;
  std::shared_ptr<WorkerPool> pool_;
  std::shared_ptr<MainQueue> mainQueue_;
};

}  // namespace wevora::platform
