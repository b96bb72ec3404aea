#include <filesystem>

#include <gtest/gtest.h>

#include "Platform/Volumes/GioUnmountApprovals.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

/// The number of this process's open descriptors of the folder.
int descriptorsOn(const std::string& folder) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code ignored;
    if (std::filesystem::read_symlink(entry.path(), ignored) == folder) ++count;
  }
  return count;
}

TEST(HoldVolumeBusy, HoldsOneDescriptorForFiveSeconds) {
  const TemporaryFolder folder;
  VirtualClock clock;
  ManualDispatch dispatch(clock);
  holdVolumeBusy(dispatch, folder.path());
  EXPECT_EQ(descriptorsOn(folder.path()), 1);
  dispatch.advance(4999ms);
  EXPECT_EQ(descriptorsOn(folder.path()), 1);
  dispatch.advance(1ms);
  EXPECT_EQ(descriptorsOn(folder.path()), 0);
}

TEST(HoldVolumeBusy, AMissingVolumeIsNotHeld) {
  const TemporaryFolder folder;
  VirtualClock clock;
  ManualDispatch dispatch(clock);
  holdVolumeBusy(dispatch, folder.path("gone"));
  EXPECT_EQ(dispatch.delayed(), 0U);
}

TEST(ApprovalRegistrations, EveryCallbackIsCalledAndTheFirstDissenterIsReturned) {
  static int calls = 0;
  ApprovalRegistrations registrations;
  const ApprovalSession::Callback approve = [](const Disk&, void*) noexcept {
    ++calls;
    return std::optional<Dissenter>();
  };
  const ApprovalSession::Callback refuse = [](const Disk&, void*) noexcept {
    ++calls;
    return std::optional(Dissenter{7, "no"});
  };
  registrations.add(approve, nullptr);
  registrations.add(refuse, nullptr);
  registrations.add(approve, nullptr);
  EXPECT_EQ(registrations.ask({}), (Dissenter{7, "no"}));
  EXPECT_EQ(calls, 3);
  registrations.remove(refuse, nullptr);
  EXPECT_EQ(registrations.ask({}), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
