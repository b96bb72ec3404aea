#pragma once

#include <string_view>

#include "Platform/Runtime/Runtime.h"

namespace wevora {

/// Replaces a method of a host's class and keeps the original reachable: the old selector runs the
/// new code, the new selector runs the host's code. The main thread only.
/// Errors: a missing class or method is skipped.
class WVMethodOverload {
 public:
  /// Returns whether the new method was added to `forClass`. Exchanges the two implementations in
  /// either case.
  // +overloadSelector:forClass:withNewSelector:ofClass:withParams:
  static bool overloadSelector(std::string_view selector, platform::Class* forClass,
                               std::string_view withNewSelector, const platform::Class* ofClass,
                               std::string_view withParams);
};

}  // namespace wevora
