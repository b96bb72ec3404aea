// The lifetime and the methods of the agent's service.

#include <csignal>
#include <filesystem>

#include "Connector/IDaemonConnection.h"
#include "Tests/AgentIntegration/AgentTest.h"
#include "Tests/Mounts/InMountNamespace.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using testing_host::AgentTest;
using testing_host::runToCompletion;

class AgentServiceTest : public AgentTest {};

TEST_F(AgentServiceTest, AForeignToolSeesAllMethodsOfTheProtocol) {
  const auto agent = served();
  ASSERT_TRUE(agent);
  const auto described = gdbus("introspect", {}).output;
  for (const auto& method : daemonConnectionMethods())
    EXPECT_NE(described.find(" " + wireName(method.selector) + "("), std::string::npos)
        << method.selector;
}

TEST_F(AgentServiceTest, EveryMethodReplies) {
  const auto agent = served({"--seed", "0"});
  ASSERT_TRUE(agent);
  EXPECT_EQ(asked("connectionStatus"), "(2,)\n");
  EXPECT_EQ(asked("isServerReachable"), "(true,)\n");
  EXPECT_EQ(asked("setPreviousConfiguringStatusToConfigured"), "()\n");
  EXPECT_EQ(asked("previousConfiguringStatus"), "(0,)\n");
  EXPECT_EQ(asked("isConfigurationUnavailableForDeviceWithID_", {"x"}), "(true,)\n");
  EXPECT_EQ(asked("getFolderTreeForDeviceWithUID_", {"x"}), "(@a{sv} {},)\n");
  for (const auto* action :
       {"cancelUserAction", "retryUserAction", "userNotifiedAboutWaitingOfAction"})
    EXPECT_EQ(asked(action), "()\n");
  EXPECT_EQ(asked("enableBackupForDevicesWithIDs_disableBackupForDevicesWithIDs_"
                  "setFolderTreesToBackup_",
                  {"['x']", "@as []", "@a{sv} {}"}),
            "()\n");
  EXPECT_EQ(asked("deviceConfiguringStatusAndIDOfCurrentDevice_arrayOfRemainDeviceIDs_"
                  "currentError_"),
            "(uint64 0, '', @as [], '')\n");
  EXPECT_NE(asked("commonInfo").find("'connectionStatus': <'CONNECTION_STATUS_LOGGEDIN'>"),
            std::string::npos);
  EXPECT_EQ(asked("updateBandwidthOptions_", {"{'limitUpload': <true>}"}), "()\n");
  EXPECT_NE(asked("bandwidthOptions").find("'limitUpload': <true>"), std::string::npos);
  EXPECT_NE(asked("currentBandwidth").find("uploadBytesPerSecond"), std::string::npos);
  EXPECT_NE(asked("accountInfo").find("'kClientIDKey': <'7'>"), std::string::npos);
  EXPECT_EQ(asked("deviceList"), "(@aa{sv} [],)\n");
  EXPECT_EQ(asked("sendLog_logLevel_withBacktrace_", {"hello", "3", "false"}), "()\n");
  EXPECT_TRUE(agent->waitForOutput("log 3: hello\n"));
  EXPECT_EQ(asked("lastPassword"), "('',)\n");
  EXPECT_EQ(asked("lastLoginEmail"), "('account@example.org',)\n");
  EXPECT_EQ(asked("clientVersion"), "('0.1.0',)\n");
  EXPECT_EQ(asked("logout"), "()\n");
  EXPECT_EQ(asked("connectionStatus"), "(0,)\n");
  EXPECT_EQ(asked("loginWithEmail_password_", {"zoe@example.org", "secret"}), "()\n");
  EXPECT_EQ(asked("lastLoginEmail"), "('zoe@example.org',)\n");
  EXPECT_EQ(asked("signUpWithFirstName_lastName_email_password_", {"Zoe", "Z", "z@z.org", "s"}),
            "()\n");
  EXPECT_NE(asked("accountInfo").find("'kFirstNameKey': <'Zoe'>"), std::string::npos);
  const auto udid = asked("udidWithLocation_", {"here"});
  EXPECT_EQ(asked("udidWithLocation_", {"here"}), udid);
  EXPECT_EQ(asked("updateUDIDWithLocation_", {"here"}), "()\n");
  EXPECT_NE(asked("udidWithLocation_", {"here"}), udid);
  EXPECT_EQ(asked("performCallback_", {"x"}), "()\n");
  EXPECT_EQ(asked("distributedNotificationObject"),
            "('com.Wevora.client.zoe.0." + std::to_string(agent->pid()) + "',)\n");
}

TEST_F(AgentServiceTest, ItsVolumesAreItsDevices) {
  const auto agent = following();
  ASSERT_TRUE(agent);
  EXPECT_NE(asked("deviceList").find("'id': <'" + volume.path() + "'>"), std::string::npos);
  EXPECT_EQ(asked("isConfigurationUnavailableForDeviceWithID_", {volume.path()}), "(false,)\n");
}

TEST_F(AgentServiceTest, ItAnnouncesItselfAtStartAndAgainForLaterListeners) {
  const auto agent = served();
  ASSERT_TRUE(receives(kIDaemonConnectionBecomeAvailableNotification));
  EXPECT_EQ(received[0].object, "com.Wevora.client.zoe.0." + std::to_string(agent->pid()));
  received.clear();
  EXPECT_TRUE(receives(kIDaemonConnectionBecomeAvailableNotification));
}

TEST_F(AgentServiceTest, ASignalEndsItAndRemovesItsSocket) {
  for (const int signal : {SIGTERM, SIGINT}) {
    const auto agent = served();
    ASSERT_TRUE(agent);
    EXPECT_TRUE(fs::exists(socket()));
    agent->signal(signal);
    EXPECT_EQ(agent->waitForExit(), 0);
    EXPECT_FALSE(fs::exists(socket()));
  }
}

TEST_F(AgentServiceTest, TheNextAgentReplacesTheSocketOfAKilledOne) {
  const auto killed = following();
  ASSERT_TRUE(killed);
  killed->signal(SIGKILL);
  EXPECT_EQ(killed->waitForExit(), 128 + SIGKILL);
  EXPECT_TRUE(fs::exists(socket()));
  const auto next = following();
  ASSERT_TRUE(next);
  EXPECT_EQ(asked("connectionStatus"), "(2,)\n");
}

TEST_F(AgentServiceTest, ASecondAgentOfTheSameNameIsRejected) {
  const auto first = served();
  ASSERT_TRUE(first);
  const auto second = runToCompletion(serveCommand({"--volume", volume.path()}));
  EXPECT_EQ(second.status, 1);
  EXPECT_NE(second.errors.find("an agent is already running"), std::string::npos) << second.errors;
  EXPECT_FALSE(fs::exists(volume.path("Wevora-Account-7.db")));
  EXPECT_EQ(asked("connectionStatus"), "(2,)\n");
  EXPECT_TRUE(served({"--seed", "5"}));
}

TEST_F(AgentServiceTest, WithoutABusItServesAndPrintsOneWarning) {
  testing_host::ChildProcess agent(serveCommand({"--volume", volume.path()}),
                                   {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"}});
  ASSERT_TRUE(agent.waitForOutput("scanned "));
  EXPECT_EQ(asked("connectionStatus"), "(2,)\n");
  EXPECT_EQ(
      agent.errors(),
      "wevora-agent-sim: cannot reach a session bus: file managers are not notified of changes\n");
}

TEST_F(AgentServiceTest, ItOutlivesTheBus) {
  const auto agent = following();
  ASSERT_TRUE(agent);
  bus.stop();
  write("file");
  EXPECT_EQ(ctl({"event", "Something", "/a"}).status, 0);
  EXPECT_TRUE(agent->waitForErrors("cannot reach a session bus"));
  EXPECT_EQ(asked("connectionStatus"), "(2,)\n");
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
