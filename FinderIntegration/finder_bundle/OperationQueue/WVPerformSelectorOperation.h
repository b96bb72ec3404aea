#pragma once

#include <utility>

#include "Platform/Dispatch/Dispatch.h"

namespace wevora {

/// Sends one message with one argument to a target, as an operation.
/// Threads: `main` on a worker. Owns: a copy of the argument; not the target, which must outlive
/// the operation. Errors: what the target throws passes to the queue.
template <class Target, class Object>
class WVPerformSelectorOperation : public platform::Operation {
 public:
  using Selector = void (Target::*)(const Object&);

  // -initWithTarget:selector:object:
  WVPerformSelectorOperation(Target& initWithTarget, Selector selector, Object object)
      : target_(initWithTarget), selector_(selector), arg_(std::move(object)) {}

  // -main
  void main() override { (target_.*selector_)(arg_); }

  const Object& arg() const noexcept { return arg_; }

 private:
  Target& target_;
  Selector selector_;
  Object arg_;
};

}  // namespace wevora
