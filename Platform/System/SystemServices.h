#pragma once

#include "Platform/Database/SqliteDatabases.h"
#include "Platform/Dispatch/GLibDispatch.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/SocketConnections.h"
#include "Platform/Runtime/Runtime.h"
#include "Platform/Volumes/GioUnmountApprovals.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::platform {

/// This machine's services, as the shared instances use them.
/// Threads: any; first used on the main thread. Owns: the services. Errors: none.
struct SystemServices {
  SystemClock clock;
  GLibDispatch dispatch;
  SystemVolumes volumes;
  SqliteDatabases databases{clock};
  GioUnmountApprovals unmountApprovals{dispatch, volumes};
  SocketConnections distributedObjects{LocalNotificationCenter::defaultCenter()};
  BusNotificationCenter distributedNotifications;
  Runtime& runtime = Runtime::shared();

  /// Made at first use, never destroyed: worker threads may outlast the end of `main`.
  static SystemServices& shared();
};

}  // namespace wevora::platform
