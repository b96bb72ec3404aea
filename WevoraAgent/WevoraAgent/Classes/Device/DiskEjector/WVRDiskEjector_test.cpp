#include "WevoraAgent/WevoraAgent/Classes/Device/DiskEjector/WVRDiskEjector.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/ManualUnmountApprovals.h"

namespace wevora {
namespace {

using platform::Disk;
using platform::Dissenter;

class Receiver : public WVRDiskEjectorEventReceiver {
 public:
  bool implementsDiskShouldBeUnmounted() const noexcept override { return true; }
  bool diskShouldBeUnmounted(const Disk& disk) override {
    requests.push_back(disk.description.at(platform::kDiskDescriptionVolumePathKey));
    return approves;
  }
  bool approves = true;
  std::vector<std::string> requests;
};

const Dissenter kBusy{0xF8DA0002, ""};

TEST(WVRDiskEjector, ApprovesWhenItsReceiverDoes) {
  platform::ManualUnmountApprovals approvals;
  WVRDiskEjector ejector(approvals);
  Receiver receiver;
  ejector.setEventReceiver(&receiver);
  EXPECT_EQ(approvals.ask("/Volumes/A"), std::nullopt);
  EXPECT_EQ(receiver.requests, std::vector<std::string>{"/Volumes/A"});
}

TEST(WVRDiskEjector, RefusesAsBusyWithAnEmptyTextWhenItsReceiverDoes) {
  platform::ManualUnmountApprovals approvals;
  WVRDiskEjector ejector(approvals);
  Receiver receiver;
  receiver.approves = false;
  ejector.setEventReceiver(&receiver);
  EXPECT_EQ(approvals.ask("/Volumes/A"), kBusy);
}

TEST(WVRDiskEjector, RefusesEveryUnmountWithoutAReceiver) {
  platform::ManualUnmountApprovals approvals;
  const WVRDiskEjector ejector(approvals);
  EXPECT_EQ(approvals.ask("/Volumes/A"), kBusy);
}

TEST(WVRDiskEjector, RefusesEveryUnmountWhenItsReceiverDoesNotImplementTheDecision) {
  platform::ManualUnmountApprovals approvals;
  WVRDiskEjector ejector(approvals);
  WVRDiskEjectorEventReceiver undecided;
  ejector.setEventReceiver(&undecided);
  EXPECT_EQ(approvals.ask("/Volumes/A"), kBusy);
}

TEST(WVRDiskEjector, UnregistersItsCallbackBeforeItReleasesTheSession) {
  platform::ManualUnmountApprovals approvals;
  { const WVRDiskEjector ejector(approvals); }
  EXPECT_EQ(approvals.done,
            (std::vector<std::string>{"create session", "schedule", "register", "unregister",
                                      "unschedule", "release session"}));
  EXPECT_EQ(approvals.registrations.ask({}), std::nullopt);
}

TEST(WVRDiskEjector, RegisteringTwiceCallsTheReceiverTwice) {
  platform::ManualUnmountApprovals approvals;
  WVRDiskEjector ejector(approvals);
  Receiver receiver;
  ejector.setEventReceiver(&receiver);
  ejector.registerCallbacks();
  EXPECT_EQ(approvals.ask("/Volumes/A"), std::nullopt);
  EXPECT_EQ(receiver.requests.size(), 2U);
}

TEST(WVRDiskEjector, WithoutASessionNothingIsRegistered) {
  platform::ManualUnmountApprovals approvals;
  approvals.refuseSessions = true;
  {
    WVRDiskEjector ejector(approvals);
    ejector.deregisterCallbacks();
  }
  EXPECT_TRUE(approvals.done.empty());
}

}  // namespace
}  // namespace wevora
