#pragma once

#include "Platform/Database/SqliteDatabases.h"
#include "Platform/Dispatch/GLibDispatch.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/SocketConnections.h"
#include "Platform/Runtime/Runtime.h"
#include "Platform/Volumes/GioUnmountApprovals.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::platform {

/// The real implementations of the platform's services, used by the shared instances.
/// Thread-safety: any thread, after the first use on the main thread.
struct SystemServices {
  SystemClock clock;
  GLibDispatch dispatch;
  SystemVolumes volumes;
  SqliteDatabases databases{clock};
  GioUnmountApprovals unmountApprovals{dispatch, volumes};
  SocketConnections distributedObjects{LocalNotificationCenter::defaultCenter()};
  BusNotificationCenter distributedNotifications;
  Runtime& runtime = Runtime::shared();

  /// Created at first use and never destroyed: worker threads may outlive `main`.
  static SystemServices& shared();
};

}  // namespace wevora::platform
