#include "Platform/Base/Version.h"

namespace wevora::platform {

std::string_view productVersion() noexcept {
  return WEVORA_VERSION;
}

}  // namespace wevora::platform
