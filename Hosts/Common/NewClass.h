#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// Registers a class of this host.
/// Errors: throws HostException if the name is already registered in the process: the class's
/// methods cast their receiver to this host's type, and must not be called on foreign objects.
inline std::shared_ptr<platform::Class> newClass(platform::Runtime& runtime, std::string_view name,
                                                 platform::Class* superclass = nullptr) {
  auto made = runtime.registerClass(name, superclass);
  if (!made)
    throw platform::HostException("class '" + std::string(name) + "' is already registered");
  return made;
}

}  // namespace wevora::hosts
