#include "Platform/System/SystemServices.h"

#include "Platform/Base/Guard.h"

namespace wevora::platform {

SystemServices& SystemServices::shared() {
  static NeverDestroyed<SystemServices> services;
  return *services;
}

}  // namespace wevora::platform
