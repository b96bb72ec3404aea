#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>

#include "Connector/DaemonConnectionProxy.h"
#include "Connector/DaemonConnectionService.h"
#include "Platform/IPC/PublishedService.h"
#include "Platform/IPC/SocketConnections.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/ServiceThread/ServiceThread.h"
#include "Tests/TestAgent/TestAgent.h"

namespace wevora {
namespace {

using platform::Array;
using platform::Dictionary;
using platform::Value;
using testing_host::TestAgent;
using Text = IDaemonConnection::Text;

TEST(DaemonConnectionNameTest, ContainsTheUserNameAndTheSeed) {
  EXPECT_EQ(daemonConnectionNameAndSeed("alice", 7), "com.Wevora.client.connection.alice.7");
  EXPECT_EQ(daemonConnectionNameAndSeed("alice", 0), "com.Wevora.client.connection.alice.0");
}

TEST(DaemonConnectionNameTest, ThirtySeedsAreTriedSoThatSeed30IsNeverFormed) {
  EXPECT_EQ(daemonConnectionNameMaximalSeed(), 30U);
}

TEST(DaemonConnectionNameTest, WithoutAUserNameThereIsNoName) {
  EXPECT_FALSE(daemonConnectionNameAndSeed(std::nullopt, 1));
}

TEST(DaemonConnectionNameTest, ASeedIsAnUnsignedDecimalAndAUserNameIsNotATemplate) {
  EXPECT_EQ(daemonConnectionNameAndSeed("%u%@", 4294967295U),
            "com.Wevora.client.connection.%u%@.4294967295");
}

TEST(DaemonConnectionStatusTest, EveryStatusHasItsLabelAndAnyOtherNumberTheDefaultOne) {
  EXPECT_STREQ(daemonConnectionStatusLabel(0), "CONNECTION_STATUS_DID_NOT_LOGGEDIN");
  EXPECT_STREQ(daemonConnectionStatusLabel(1), "CONNECTION_STATUS_LOGIN_IN_PROGRESS");
  EXPECT_STREQ(daemonConnectionStatusLabel(2), "CONNECTION_STATUS_LOGGEDIN");
  EXPECT_STREQ(daemonConnectionStatusLabel(3), "DEFAULT");
  EXPECT_STREQ(daemonConnectionStatusLabel(-1), "DEFAULT");
}

TEST(VocabularyTest, EveryConstantHasItsOwnNameAsItsText) {
  const std::pair<const char*, const char*> kNames[] = {
      {kIDaemonConnectionBecomeAvailableNotification,
       "kIDaemonConnectionBecomeAvailableNotification"},
      {kIDaemonConnectionAccountInfoChangedNotification,
       "kIDaemonConnectionAccountInfoChangedNotification"},
      {kIDaemonConnectionConnectionStatusChangedNotification,
       "kIDaemonConnectionConnectionStatusChangedNotification"},
      {kIDaemonConnectionWVREventNotification, "kIDaemonConnectionWVREventNotification"},
      {kIDaemonConnectionNewMessageReceivedNotification,
       "kIDaemonConnectionNewMessageReceivedNotification"},
      {kIDaemonConnectionAutoLoginUDIDChangedNotification,
       "kIDaemonConnectionAutoLoginUDIDChangedNotification"},
      {kIDaemonConnectionBandwidthOptionsChangedNotification,
       "kIDaemonConnectionBandwidthOptionsChangedNotification"},
      {kIDaemonConnectionLoginErrorNotification, "kIDaemonConnectionLoginErrorNotification"},
      {kIDaemonConnectionDeviceConfigurationStatusChangedNotification,
       "kIDaemonConnectionDeviceConfigurationStatusChangedNotification"},
      {kIDaemonConnectionDevicePreviousConfiguringStatusChangedNotification,
       "kIDaemonConnectionDevicePreviousConfiguringStatusChangedNotification"},
      {kIDaemonConnectionDeviceListChangedNotification,
       "kIDaemonConnectionDeviceListChangedNotification"},
      {kIDaemonConnectionDeviceErrorNotification, "kIDaemonConnectionDeviceErrorNotification"},
      {kIDaemonConnectionServerReachabilityChanged, "kIDaemonConnectionServerReachabilityChanged"},
      {kIDaemonConnectionCommonDistributedNotificationObject,
       "kIDaemonConnectionCommonDistributedNotificationObject"},
      {kIDaemonConnectionWVREventNotificationPathsKey,
       "kIDaemonConnectionWVREventNotificationPathsKey"},
      {kIDaemonConnectionWVREventNotificationEventsKey,
       "kIDaemonConnectionWVREventNotificationEventsKey"},
      {kFinderOverlayEnabledKey, "kFinderOverlayEnabledKey"},
      {kFinderOverlayChanged, "kFinderOverlayChanged"},
  };
  for (const auto& [constant, text] : kNames) EXPECT_STREQ(constant, text);
}

TEST(VocabularyTest, TheTemplateOfTheServicesNameHasAUserNameAndANumber) {
  EXPECT_STREQ(kIDaemonConnectionNameTemplate, "com.Wevora.client.connection.%@.%u");
}

// --- The account record --------------------------------------------------------------------------

std::vector<std::string> keysOf(const WVRAccountInfo& record) {
  Coder coder;
  record.encodeWithCoder(coder);
  std::vector<std::string> keys;
  for (const auto& [key, value] : *coder.objects().at(0).as<Dictionary>()) keys.push_back(key);
  return keys;
}

WVRAccountInfo decoded(Value object) {
  Coder coder(std::move(object));
  return WVRAccountInfo::initWithCoder(coder);
}

WVRAccountInfo emptyRecord() {
  return WVRAccountInfo::initWithLastName({}, {}, {}, {}, false, false, 0, {});
}

TEST(WVRAccountInfoTest, TheArchiveIsOneDictionaryInTheFixedOrder) {
  EXPECT_EQ(
      keysOf(TestAgent::accountOf("42")),
      (std::vector<std::string>{"kFirstNameKey", "kLastNameKey", "kEmailKey", "kSignupDateKey",
                                "kCourierDriveBillingInfoRequired", "kCourierDriveProhibitedKey",
                                "kPlanSizeGBKey", "kClientIDKey"}));
}

TEST(WVRAccountInfoTest, WithoutAFirstNameAndAClientIdTheArchiveHasSixEntries) {
  const auto record = WVRAccountInfo::initWithLastName("L", std::nullopt, "e", platform::Date{1},
                                                       false, true, 5, std::nullopt);
  EXPECT_EQ(keysOf(record),
            (std::vector<std::string>{"kLastNameKey", "kEmailKey", "kSignupDateKey",
                                      "kCourierDriveBillingInfoRequired",
                                      "kCourierDriveProhibitedKey", "kPlanSizeGBKey"}));
}

TEST(WVRAccountInfoTest, WithoutStringsTheThreeNumbersAreStillArchived) {
  EXPECT_EQ(keysOf(emptyRecord()),
            (std::vector<std::string>{"kCourierDriveBillingInfoRequired",
                                      "kCourierDriveProhibitedKey", "kPlanSizeGBKey"}));
}

TEST(WVRAccountInfoTest, MissingKeysDecodeToNulloptNoAndZero) {
  EXPECT_EQ(decoded(Dictionary()), emptyRecord());
}

TEST(WVRAccountInfoTest, AnArchiveThatIsNotADictionaryDecodesToAnEmptyRecord) {
  EXPECT_EQ(decoded(Array{"a"}), emptyRecord());
  Coder nothing;
  EXPECT_EQ(WVRAccountInfo::initWithCoder(nothing), emptyRecord());
}

TEST(WVRAccountInfoTest, EntriesOfOtherTypesAreAbsent) {
  const auto record = decoded(Dictionary{{"kFirstNameKey", Value(true)},
                                         {"kClientIDKey", Value(std::int64_t{7})},
                                         {"kSignupDateKey", Value("yesterday")},
                                         {"kPlanSizeGBKey", Value("12")},
                                         {"kCourierDriveProhibitedKey", Value("YES")}});
  EXPECT_FALSE(record.firstName());
  EXPECT_FALSE(record.clientID());
  EXPECT_FALSE(record.signupDate());
  EXPECT_EQ(record.planSizeGB(), 12);
  EXPECT_TRUE(record.courierDriveProhibited());
}

TEST(WVRAccountInfoTest, ACopyAndAnArchivedAndUnarchivedRecordHaveEqualValues) {
  const auto record = WVRAccountInfo::initWithLastName(
      "Last", "First", "e@x", platform::Date{-5.25}, true, false, 1LL << 40, "id");
  EXPECT_EQ(record.copyWithZone(), record);
  Coder coder;
  record.encodeWithCoder(coder);
  EXPECT_EQ(WVRAccountInfo::initWithCoder(coder), record);
  EXPECT_EQ(record.lastName(), "Last");
  EXPECT_EQ(record.firstName(), "First");
  EXPECT_EQ(record.email(), "e@x");
  EXPECT_EQ(record.signupDate(), platform::Date{-5.25});
  EXPECT_TRUE(record.courierDriveProhibited());
  EXPECT_FALSE(record.courierDriveBillingInfoRequired());
  EXPECT_EQ(record.planSizeGB(), 1LL << 40);
  EXPECT_EQ(record.clientID(), "id");
}

TEST(WVRAccountInfoTest, EveryKeyIsItsOwnNameAndOnlyTheBillingKeyHasNoSuffix) {
  EXPECT_STREQ(kLastNameKey, "kLastNameKey");
  EXPECT_STREQ(kFirstNameKey, "kFirstNameKey");
  EXPECT_STREQ(kEmailKey, "kEmailKey");
  EXPECT_STREQ(kSignupDateKey, "kSignupDateKey");
  EXPECT_STREQ(kCourierDriveProhibitedKey, "kCourierDriveProhibitedKey");
  EXPECT_STREQ(kCourierDriveBillingInfoRequiredKey, "kCourierDriveBillingInfoRequired");
  EXPECT_STREQ(kPlanSizeGBKey, "kPlanSizeGBKey");
  EXPECT_STREQ(kClientIDKey, "kClientIDKey");
}

TEST(WVRAccountInfoTest, TheInitialiserHasTheEncodingOfItsEightArguments) {
  EXPECT_STREQ(WVRAccountInfo::kInitEncoding, "@72@0:8@16@24@32@40c48c52q56@64");
}

TEST(WVRAccountInfoTest, ARecordIsSentByCopyOnlyIfTheCoderRequestsIt) {
  const auto record = emptyRecord();
  EXPECT_EQ(record.replacementObjectForPortCoder({.isBycopy = true}), &record);
  EXPECT_EQ(record.replacementObjectForPortCoder({.isBycopy = false}), nullptr);
}

// --- The protocol --------------------------------------------------------------------------------

TEST(IDaemonConnectionTest, HasTwentyEightMethodsInTheirOrderOfWhichTheBundleUsesThree) {
  const ProtocolMethod kDeclared[] = {
      {"connectionStatus", "i16@0:8", "", "", true},
      {"isServerReachable", "c16@0:8", "", "", false},
      {"setPreviousConfiguringStatusToConfigured", "v16@0:8", "", "", false},
      {"previousConfiguringStatus", "i16@0:8", "", "", false},
      {"isConfigurationUnavailableForDeviceWithID:", "c24@0:8O@16", "", "bycopy", false},
      {"getFolderTreeForDeviceWithUID:", "O@24@0:8O@16", "bycopy", "bycopy", false},
      {"cancelUserAction", "v16@0:8", "", "", false},
      {"retryUserAction", "v16@0:8", "", "", false},
      {"userNotifiedAboutWaitingOfAction", "v16@0:8", "", "", false},
      {"enableBackupForDevicesWithIDs:disableBackupForDevicesWithIDs:setFolderTreesToBackup:",
       "v40@0:8O@16O@24O@32", "", "bycopy", false},
      {"deviceConfiguringStatusAndIDOfCurrentDevice:arrayOfRemainDeviceIDs:currentError:",
       "Q40@0:8oO^@16oO^@24oO^@32", "", "out bycopy", false},
      {"commonInfo", "O@16@0:8", "bycopy", "", false},
      {"updateBandwidthOptions:", "v24@0:8nO@16", "", "in bycopy", false},
      {"currentBandwidth", "O@16@0:8", "bycopy", "", false},
      {"bandwidthOptions", "O@16@0:8", "bycopy", "", false},
      {"accountInfo", "O@16@0:8", "bycopy", "", true},
      {"deviceList", "O@16@0:8", "bycopy", "", false},
      {"sendLog:logLevel:withBacktrace:", "v32@0:8@16i24c28", "", "", false},
      {"lastPassword", "@16@0:8", "", "", false},
      {"lastLoginEmail", "@16@0:8", "", "", false},
      {"clientVersion", "O@16@0:8", "bycopy", "", false},
      {"logout", "v16@0:8", "", "", false},
      {"loginWithEmail:password:", "v32@0:8@16@24", "", "", false},
      {"signUpWithFirstName:lastName:email:password:", "v48@0:8@16@24@32@40", "", "", false},
      {"udidWithLocation:", "O@24@0:8@16", "bycopy", "", false},
      {"updateUDIDWithLocation:", "v24@0:8@16", "", "", false},
      {"performCallback:", "v24@0:8@16", "", "", false},
      {"distributedNotificationObject", "@16@0:8", "", "", true},
  };
  const auto methods = daemonConnectionMethods();
  ASSERT_EQ(methods.size(), std::size(kDeclared));
  for (std::size_t i = 0; i < methods.size(); ++i) {
    EXPECT_STREQ(methods[i].selector, kDeclared[i].selector);
    EXPECT_STREQ(methods[i].encoding, kDeclared[i].encoding) << methods[i].selector;
    EXPECT_STREQ(methods[i].resultQualifiers, kDeclared[i].resultQualifiers) << methods[i].selector;
    EXPECT_STREQ(methods[i].argumentQualifiers, kDeclared[i].argumentQualifiers)
        << methods[i].selector;
    EXPECT_EQ(methods[i].used, kDeclared[i].used) << methods[i].selector;
  }
}

/// The types of an encoding, beginning with the result: "c24@0:8O@16" gives "c", "@", ":", "O@".
std::vector<std::string> typesOf(std::string_view encoding) {
  std::vector<std::string> types;
  for (bool inNumber = true; const char c : encoding) {
    const bool isDigit = c >= '0' && c <= '9';
    if (!isDigit && inNumber) types.emplace_back();
    if (!isDigit) types.back() += c;
    inNumber = isDigit;
  }
  return types;
}

/// The qualifiers that the letters before a type encode.
std::string qualifiersOf(std::string_view type) {
  if (type.starts_with("oO")) return "out bycopy";
  if (type.starts_with("nO")) return "in bycopy";
  return type.starts_with("O") ? "bycopy" : "";
}

TEST(IDaemonConnectionTest, QualifiersAndResultsAgreeWithTheEncodings) {
  for (const auto& method : daemonConnectionMethods()) {
    const auto types = typesOf(method.encoding);
    const auto colons = std::ranges::count(std::string_view(method.selector), ':');
    ASSERT_EQ(types.size(), 3U + static_cast<std::size_t>(colons)) << method.selector;
    EXPECT_EQ(qualifiersOf(types[0]), method.resultQualifiers) << method.selector;
    EXPECT_EQ(types[1] + types[2], "@:") << method.selector;
    for (std::size_t i = 3; i < types.size(); ++i)
      EXPECT_EQ(qualifiersOf(types[i]), method.argumentQualifiers) << method.selector;
  }
}

/// An agent behind a real socket.
class DaemonConnectionTest : public testing::Test {
 protected:
  DaemonConnectionTest() {
    thread.perform([&] {
      service = platform::PublishedService::publish(
          *daemonConnectionNameAndSeed("alice", 7), daemonConnectionProtocol(),
          [&](const std::string& method, const Array& arguments) {
            return callDaemonConnection(agent, method, arguments);
          },
          folder.path());
    });
    connection =
        objects.connectionWithSendPort(objects.portForName("com.Wevora.client.connection.alice.7"));
    if (connection) remote = daemonConnectionOver(connection->rootProxy());
  }
  ~DaemonConnectionTest() override {
    thread.perform([&] { service.reset(); });
  }
  void SetUp() override { ASSERT_TRUE(remote); }
  /// Changes the agent on the service's thread, to which it is confined.
  void change(const std::function<void(TestAgent&)>& how) {
    thread.perform([&] { how(agent); });
  }

  platform::TemporaryFolder folder;
  TestAgent agent;
  testing_host::ServiceThread thread;
  std::unique_ptr<platform::PublishedService> service;
  platform::LocalNotificationCenter center;
  platform::SocketConnections objects{center, folder.path()};
  std::shared_ptr<platform::Connection> connection;
  std::shared_ptr<IDaemonConnection> remote;
};

TEST_F(DaemonConnectionTest, TheIntrospectionOfThePeerHasTheInterfaceWithAllMethodsAndTheProperty) {
  const auto text = connection->rootProxy()->call(
      {"org.freedesktop.DBus.Introspectable",
       R"(<node><interface name="org.freedesktop.DBus.Introspectable"><method name="Introspect">
          <arg type="s" direction="out"/></method></interface></node>)"},
      "Introspect", {});
  ASSERT_TRUE(text);
  const std::string xml = *text->at(0).as<std::string>();
  const std::unique_ptr<GDBusNodeInfo, decltype(&g_dbus_node_info_unref)> node(
      g_dbus_node_info_new_for_xml(xml.c_str(), nullptr), &g_dbus_node_info_unref);
  ASSERT_TRUE(node);
  auto* interface = g_dbus_node_info_lookup_interface(node.get(), "com.Wevora.IDaemonConnection");
  ASSERT_NE(interface, nullptr);
  std::vector<std::string> found;
  for (auto** method = interface->methods; *method != nullptr; ++method)
    found.emplace_back((*method)->name);
  std::vector<std::string> wanted;
  for (const auto& method : daemonConnectionMethods()) wanted.push_back(wireName(method.selector));
  EXPECT_EQ(found, wanted);
  EXPECT_EQ(wireName("isConfigurationUnavailableForDeviceWithID:"),
            "isConfigurationUnavailableForDeviceWithID_");
  const auto* property = g_dbus_interface_info_lookup_property(interface, "connectionStatus");
  ASSERT_NE(property, nullptr);
  EXPECT_STREQ(property->signature, "i");
  EXPECT_EQ(property->flags, G_DBUS_PROPERTY_INFO_FLAGS_READABLE);
  EXPECT_STREQ(kConnectionStatusPropertyAttributes, "Ti,R,N");
  EXPECT_TRUE(connection->rootProxy()->conformsToProtocol(daemonConnectionProtocol()));
}

TEST_F(DaemonConnectionTest, TheAccountRecordIsSentByValue) {
  EXPECT_EQ(remote->accountInfo(), TestAgent::accountOf("42"));
  change([](TestAgent& to) { to.account.reset(); });
  EXPECT_FALSE(remote->accountInfo());
  change([](TestAgent& to) { to.account = emptyRecord(); });
  EXPECT_EQ(remote->accountInfo(), emptyRecord());
}

TEST_F(DaemonConnectionTest, TheStatusIsAMethodAndAProperty) {
  change([](TestAgent& to) { to.status = -2; });
  EXPECT_EQ(remote->connectionStatus(), -2);
  const auto property = connection->rootProxy()->call(
      {"org.freedesktop.DBus.Properties",
       R"(<node><interface name="org.freedesktop.DBus.Properties"><method name="Get">
          <arg type="s" direction="in"/><arg type="s" direction="in"/>
          <arg type="v" direction="out"/></method></interface></node>)"},
      "Get", {"com.Wevora.IDaemonConnection", "connectionStatus"});
  EXPECT_EQ(property, Array{std::int64_t{-2}});
}

TEST_F(DaemonConnectionTest, EveryMethodReachesTheAgentAndReturnsItsResult) {
  EXPECT_TRUE(remote->isServerReachable());
  remote->setPreviousConfiguringStatusToConfigured();
  EXPECT_EQ(remote->previousConfiguringStatus(), -4);
  EXPECT_TRUE(remote->isConfigurationUnavailableForDeviceWithID("d"));
  EXPECT_EQ(remote->getFolderTreeForDeviceWithUID("u"), (Dictionary{{"tree", Value("u")}}));
  remote->cancelUserAction();
  remote->retryUserAction();
  remote->userNotifiedAboutWaitingOfAction();
  remote->enableBackupForDevicesWithIDs({"a", "b"}, {"c"}, {{"a", Value("/")}});
  Text device;
  Array remaining;
  Text error = "old";
  EXPECT_EQ(remote->deviceConfiguringStatusAndIDOfCurrentDevice(device, remaining, error), 7U);
  EXPECT_EQ(device, "device 1");
  EXPECT_EQ(remaining, (Array{"device 2", "device 3"}));
  EXPECT_FALSE(error);
  EXPECT_EQ(remote->commonInfo(), (Dictionary{{"info", Value("common")}}));
  remote->updateBandwidthOptions({{"x", Value(true)}});
  EXPECT_EQ(remote->currentBandwidth(), (Dictionary{{"bandwidth", Value(1.5)}}));
  EXPECT_EQ(remote->bandwidthOptions(), (Dictionary{{"options", Value(true)}}));
  EXPECT_EQ(remote->deviceList(), Array{Value(Dictionary{{"id", Value("device 1")}})});
  remote->sendLog("text", 3, true);
  EXPECT_FALSE(remote->lastPassword());
  EXPECT_EQ(remote->lastLoginEmail(), "first@example.org");
  EXPECT_EQ(remote->clientVersion(), "1.2.3");
  remote->logout();
  remote->loginWithEmail("e", "p");
  remote->signUpWithFirstName("f", std::nullopt, "e", "p");
  EXPECT_EQ(remote->udidWithLocation("l"), "udid of l");
  remote->updateUDIDWithLocation("l");
  remote->performCallback("c");
  EXPECT_EQ(remote->distributedNotificationObject(), "agent of a test");
  remote->connectionStatus();
  remote->accountInfo();

  std::vector<std::string> calls;
  change([&](TestAgent& of) { calls = of.calls; });
  std::set<std::string> reached;
  for (const auto& call : calls) reached.insert(call.substr(0, call.find(' ')));
  std::set<std::string> wanted;
  for (const auto& method : daemonConnectionMethods()) wanted.insert(method.selector);
  EXPECT_EQ(reached, wanted);
  EXPECT_TRUE(std::ranges::count(calls, "sendLog:logLevel:withBacktrace: text 3 YES"));
  EXPECT_TRUE(std::ranges::count(calls, "signUpWithFirstName:lastName:email:password: f none e p"));
}

TEST_F(DaemonConnectionTest, AnUnsignedResultKeepsAllItsBits) {
  Text device;
  Array remaining;
  Text error;
  for (const auto status : {std::uint64_t{1} << 63U, ~std::uint64_t{0}}) {
    change([&](TestAgent& to) { to.configuringStatus = status; });
    EXPECT_EQ(remote->deviceConfiguringStatusAndIDOfCurrentDevice(device, remaining, error),
              status);
  }
}

TEST_F(DaemonConnectionTest, WithoutAnAgentEveryResultIsNulloptNoOrZero) {
  thread.perform([&] { service.reset(); });
  EXPECT_EQ(remote->connectionStatus(), 0);
  EXPECT_FALSE(remote->isServerReachable());
  EXPECT_FALSE(remote->accountInfo());
  EXPECT_FALSE(remote->distributedNotificationObject());
  EXPECT_TRUE(remote->deviceList().empty());
  EXPECT_TRUE(remote->commonInfo().empty());
}

TEST(DaemonConnectionServiceTest, CallsOutsideTheProtocolHaveNoResult) {
  TestAgent agent;
  EXPECT_FALSE(callDaemonConnection(agent, "unknown", {}));
  EXPECT_FALSE(callDaemonConnection(agent, "accountInfo", {"one too many"}));
  EXPECT_FALSE(callDaemonConnection(agent, "performCallback_", {}));
  EXPECT_TRUE(agent.calls.empty());
}

}  // namespace
}  // namespace wevora
