#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"
#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Database/SqliteDatabases.h"
#include "Platform/Dispatch/GLibDispatch.h"
#include "Platform/Installation/InstalledPaths.h"
#include "Platform/Runtime/Runtime.h"
#include "Platform/Volumes/UnmountApproval.h"
#include "Platform/Volumes/Volumes.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Doubles/ManualVolumes.h"

namespace wevora::testing_host {

/// Virtual time: queues run when the test runs them.
struct VirtualTime {
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
};

/// The machine's clock and real worker threads.
struct RealTime {
  platform::SystemClock clock;
  platform::GLibDispatch dispatch;
};

/// Virtual time that the test owns, for tests whose other services need the dispatch first.
struct GivenTime {
  GivenTime(const platform::Clock& givenClock, platform::ManualDispatch& givenDispatch)
      : clock(givenClock), dispatch(givenDispatch) {}
  const platform::Clock& clock;
  platform::ManualDispatch& dispatch;
};

/// Services that replace the doubles of an engine under test. Null keeps the double.
struct EngineOptions {
  const platform::Volumes* volumes = nullptr;
  platform::Databases* databases = nullptr;
  platform::UnmountApprovals* approvals = nullptr;
  const platform::Runtime* runtime = nullptr;
  platform::InstalledPaths paths = platform::InstalledPaths::shared();
  std::optional<std::string> accountId = std::nullopt;
};

/// The doubles that an engine under test uses by default: volumes that the test lists, unmount
/// requests that the test makes, real SQLite databases, and a host without classes.
struct EngineDoubles {
  platform::ManualVolumes volumes;
  platform::ManualUnmountApprovals approvals;
  platform::SystemClock databaseClock;
  platform::SqliteDatabases databases{databaseClock};
  platform::Runtime runtime;
};

/// The engine — icon provider, database pool, redraw tools — wired once for all tests and
/// benchmarks. `Time` supplies `clock` and `dispatch`.
///
/// Ownership: owns its doubles, which outlive the dispatch and its workers. A service named in the
///   options must outlive the engine.
template <class Time>
struct BasicEngineUnderTest : EngineDoubles, Time {
  BasicEngineUnderTest() : BasicEngineUnderTest(EngineOptions{}) {}
  template <class... TimeArguments>
  explicit BasicEngineUnderTest(EngineOptions with, TimeArguments&... time)
      : Time(time...),
        options(std::move(with)),
        tools(hostRuntime(), this->dispatch.mainQueue(), this->clock),
        pool(WVDBPool::init({options.databases ? *options.databases : databases, this->dispatch,
                             options.volumes ? *options.volumes : volumes,
                             options.approvals ? *options.approvals : approvals})),
        provider(makeProvider()) {
    pool->setAccountId(options.accountId);
  }

  /// A provider with an empty cache, on the same pool.
  std::shared_ptr<WVIconProvider> makeProvider() {
    return WVIconProvider::init(
        {this->clock, this->dispatch, tools, pool, hostRuntime(), options.paths});
  }

  const EngineOptions options;
  WVFinderTools tools;
  std::shared_ptr<WVDBPool> pool;
  std::shared_ptr<WVIconProvider> provider;

 private:
  const platform::Runtime& hostRuntime() const {
    return options.runtime ? *options.runtime : runtime;
  }
};

using EngineUnderTest = BasicEngineUnderTest<VirtualTime>;
using ThreadedEngineUnderTest = BasicEngineUnderTest<RealTime>;

}  // namespace wevora::testing_host
