#pragma once

#include <string_view>

#include "Platform/Runtime/Runtime.h"

namespace wevora {

/// Replaces a method of a host's class so that the replacement can still reach the host's own: what
/// is sent by the old selector runs the new code, and the new code finds the host's code under the
/// new selector.
/// Threads: the main thread. Owns: nothing. Errors: a class or method that is absent is left out.
class WVMethodOverload {
 public:
  /// Whether the new method could be added to `forClass`. The two implementations are exchanged in
  /// either case.
  // +overloadSelector:forClass:withNewSelector:ofClass:withParams:
  static bool overloadSelector(std::string_view selector, platform::Class* forClass,
                               std::string_view withNewSelector, const platform::Class* ofClass,
                               std::string_view withParams);
};

}  // namespace wevora
