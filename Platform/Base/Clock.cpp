#include "Platform/Base/Clock.h"

namespace wevora::platform {

Date SystemClock::now() const {
  const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
  return Date{std::chrono::duration<double>(since1970).count()};
}

std::chrono::nanoseconds SystemClock::uptime() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

}  // namespace wevora::platform
