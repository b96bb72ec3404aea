#include "Platform/System/SystemServices.h"

#include "Platform/Support/Guard.h"

namespace wevora::platform {

SystemServices& SystemServices::shared() {
  static NeverDestroyed<SystemServices> services;
  return *services;
}

}  // namespace wevora::platform
