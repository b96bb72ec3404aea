#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// A class of this host's. Throws where another in the process has taken its name: objects that
/// are not this host's would reach its methods.
inline std::shared_ptr<platform::Class> newClass(platform::Runtime& runtime, std::string_view name,
                                                 platform::Class* superclass = nullptr) {
  auto made = runtime.registerClass(name, superclass);
  if (!made) throw platform::HostException(std::string(name) + " is taken");
  return made;
}

}  // namespace wevora::hosts
