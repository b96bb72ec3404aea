#pragma once

#include <utility>

#include "Platform/Dispatch/Dispatch.h"

namespace wevora {

/// An operation that calls one method of a target with one argument.
/// Ownership: copies the argument. The target must outlive the operation.
/// Errors: exceptions of the target propagate to the queue.
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
