#include <filesystem>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Platform/DistributedObjects/PublishedService.h"
#include "Platform/DistributedObjects/SocketConnections.h"
#include "Platform/Support/TemporaryFolder.h"
#include "Platform/Support/UnixAddress.h"
#include "Tests/ServiceThread/ServiceThread.h"

namespace wevora::platform {
namespace {

using testing_host::runMainLoopUntil;
using testing_host::ServiceThread;

const WireProtocol kGreeting{"com.Wevora.Greeting",
                             R"(<node><interface name="com.Wevora.Greeting">
  <method name="greet_"><arg type="s" direction="in"/><arg type="s" direction="out"/></method>
  <method name="count"><arg type="i" direction="out"/><arg type="as" direction="out"/></method>
  <method name="fail"/>
</interface></node>)"};
const WireProtocol kLarger{"com.Wevora.Greeting",
                           R"(<node><interface name="com.Wevora.Greeting">
  <method name="greet_"><arg type="s" direction="in"/><arg type="s" direction="out"/></method>
  <method name="leave"/>
</interface></node>)"};
const WireProtocol kOtherTypes{"com.Wevora.Greeting",
                               R"(<node><interface name="com.Wevora.Greeting">
  <method name="greet_"><arg type="i" direction="in"/><arg type="s" direction="out"/></method>
</interface></node>)"};

std::optional<Array> greet(const std::string& method, const Array& arguments) {
  if (method == "greet_") return Array{"hello " + *arguments.at(0).as<std::string>()};
  if (method == "count") return Array{std::int64_t{2}, Array{"a", "b"}};
  return std::nullopt;
}

/// A socket that listens, with nobody behind who speaks.
Descriptor muteSocket(const std::string& path) {
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  const auto address = UnixAddress::of(path);
  EXPECT_EQ(::bind(socket.get(), address->get(), UnixAddress::size()), 0);
  EXPECT_EQ(::listen(socket.get(), 4), 0);
  return socket;
}

class DistributedObjectsTest : public testing::Test {
 protected:
  ~DistributedObjectsTest() override { end(); }

  bool publish(const std::string& name = "service") {
    bool published = false;
    thread.perform([&] {
      auto made = PublishedService::publish(name, kGreeting, greet, folder.path());
      published = made != nullptr;
      if (made) service = std::move(made);
    });
    return published;
  }
  void end() {
    thread.perform([&] { service.reset(); });
  }
  std::shared_ptr<Connection> connect(const std::string& name = "service") {
    return objects.connectionWithSendPort(objects.portForName(name));
  }

  TemporaryFolder folder;
  ServiceThread thread;
  std::unique_ptr<PublishedService> service;
  LocalNotificationCenter center;
  SocketConnections objects{center, folder.path(), std::chrono::milliseconds(300)};
};

TEST_F(DistributedObjectsTest, AServiceIsASocketOfItsNameForItsUserOnly) {
  ASSERT_TRUE(publish("com.Wevora.client.connection.alice.7"));
  struct stat facts {};
  ASSERT_EQ(::lstat(folder.path("com.Wevora.client.connection.alice.7").c_str(), &facts), 0);
  EXPECT_TRUE(S_ISSOCK(facts.st_mode));
  EXPECT_EQ(facts.st_mode & 0777U, 0600U);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST_F(DistributedObjectsTest, AMethodIsAnsweredWithItsResultAndThenItsOutArguments) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  connection->enableMultipleThreads();
  const auto root = connection->rootProxy();
  EXPECT_EQ(root->call(kGreeting, "greet_", {"Zo\xC3\xAB"}), Array{"hello Zo\xC3\xAB"});
  EXPECT_EQ(root->call(kGreeting, "count", {}), (Array{std::int64_t{2}, Array{"a", "b"}}));
}

TEST_F(DistributedObjectsTest, AServiceAnswersToEveryProtocolThatItOffers) {
  const WireProtocol other{"com.Wevora.Other", R"(<node><interface name="com.Wevora.Other">
  <method name="end"><arg type="s" direction="out"/></method></interface></node>)"};
  thread.perform([&] {
    service = PublishedService::publish(
        "service",
        {{kGreeting, greet},
         {other, [](const std::string& method, const Array&) { return Array{method + "ed"}; }}},
        folder.path());
  });
  const auto connection = connect();
  ASSERT_TRUE(connection);
  const auto root = connection->rootProxy();
  EXPECT_TRUE(root->conformsToProtocol(kGreeting));
  EXPECT_TRUE(root->conformsToProtocol(other));
  EXPECT_EQ(root->call(kGreeting, "greet_", {"you"}), Array{"hello you"});
  EXPECT_EQ(root->call(other, "end", {}), Array{"ended"});
}

TEST_F(DistributedObjectsTest, ACallThatFailsHasNoAnswerAndTheConnectionGoesOn) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  const auto root = connection->rootProxy();
  EXPECT_FALSE(root->call(kGreeting, "fail", {}));
  EXPECT_FALSE(root->call(kGreeting, "unknown", {}));
  EXPECT_FALSE(root->call(kGreeting, "greet_", {}));
  EXPECT_FALSE(root->call(kGreeting, "greet_", {"a", "b"}));
  EXPECT_FALSE(root->call(kGreeting, "greet_", {true}));
  EXPECT_FALSE(root->call(kLarger, "leave", {}));
  EXPECT_TRUE(root->call(kGreeting, "greet_", {"you"}));
}

TEST_F(DistributedObjectsTest, ARootObjectConformsWhenItHasEveryMethodWithTheSameTypes) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  const auto root = connection->rootProxy();
  EXPECT_TRUE(root->conformsToProtocol(kGreeting));
  EXPECT_FALSE(root->conformsToProtocol(kLarger));
  EXPECT_FALSE(root->conformsToProtocol(kOtherTypes));
  EXPECT_FALSE(root->conformsToProtocol({"com.Wevora.Absent", "<node/>"}));
}

TEST_F(DistributedObjectsTest, AStaleSocketIsNoPortAndIsTakenOver) {
  { const Descriptor gone = muteSocket(folder.path("service")); }
  EXPECT_FALSE(objects.portForName("service"));
  ASSERT_TRUE(publish());
  EXPECT_TRUE(objects.portForName("service"));
}

TEST_F(DistributedObjectsTest, ANameThatIsServedIsNotTakenOver) {
  ASSERT_TRUE(publish());
  bool second = true;
  thread.perform([&] {
    second = PublishedService::publish("service", kGreeting, greet, folder.path()) != nullptr;
  });
  EXPECT_FALSE(second);
  EXPECT_TRUE(connect());
}

TEST_F(DistributedObjectsTest, AnEndedServiceLeavesNoSocket) {
  ASSERT_TRUE(publish());
  end();
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(DistributedObjectsTest, AnEndedServiceLeavesTheSocketThatTookItsNameAlone) {
  ASSERT_TRUE(publish());
  std::filesystem::remove(folder.path("service"));
  const Descriptor other = muteSocket(folder.path("service"));
  end();
  EXPECT_TRUE(std::filesystem::exists(folder.path("service")));
}

TEST_F(DistributedObjectsTest, NamesThatAreNoFileNamesAreRefused) {
  for (const char* name : {"", ".", "..", "a/b", "/tmp/x"}) {
    EXPECT_FALSE(objects.portForName(name)) << name;
    EXPECT_FALSE(publish(name)) << name;
  }
  EXPECT_FALSE(objects.portForName(std::string(200, 'x')));
  EXPECT_FALSE(objects.portForName(std::string("a\0b", 3)));
}

TEST_F(DistributedObjectsTest, WhatIsNoSocketIsNoPort) {
  std::ofstream(folder.path("file")) << "x";
  std::filesystem::create_directory(folder.path("folder"));
  ASSERT_TRUE(publish());
  std::filesystem::create_symlink(folder.path("service"), folder.path("link"));
  for (const char* name : {"file", "folder", "link", "missing"})
    EXPECT_FALSE(objects.portForName(name)) << name;
}

TEST_F(DistributedObjectsTest, AnotherUsersSocketIsNoPort) {
  ASSERT_TRUE(publish());
  EXPECT_TRUE(connectToOwnSocket(folder.path("service")));
  EXPECT_FALSE(connectToOwnSocket(folder.path("service"), ::getuid() + 1));
}

TEST_F(DistributedObjectsTest, APeerThatAcceptsAndNeverSpeaksIsNoConnection) {
  const Descriptor mute = muteSocket(folder.path("service"));
  EXPECT_TRUE(objects.portForName("service"));
  EXPECT_FALSE(connect());
}

TEST_F(DistributedObjectsTest, APortServesOneConnection) {
  ASSERT_TRUE(publish());
  const auto port = objects.portForName("service");
  EXPECT_TRUE(objects.connectionWithSendPort(port));
  EXPECT_FALSE(objects.connectionWithSendPort(port));
  EXPECT_FALSE(objects.connectionWithSendPort(nullptr));
}

TEST_F(DistributedObjectsTest, TheDeathOfThePeerIsToldOfItsConnectionOnTheMainThread) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  const auto root = connection->rootProxy();
  ASSERT_TRUE(root->call(kGreeting, "count", {}));
  int deaths = 0;
  const auto main = std::this_thread::get_id();
  const auto observation = center.observe(
      kNSConnectionDidDieNotification,
      [&](const Notification&) { deaths += std::this_thread::get_id() == main ? 1 : 100; },
      connection.get());
  end();
  ASSERT_TRUE(runMainLoopUntil([&] { return deaths > 0; }));
  EXPECT_EQ(deaths, 1);
  EXPECT_FALSE(root->call(kGreeting, "count", {}));
}

TEST_F(DistributedObjectsTest, APeerThatLeavesACallUnansweredIsTakenForDead) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  const auto root = connection->rootProxy();
  ASSERT_TRUE(root->call(kGreeting, "count", {}));
  bool dead = false;
  const auto observation = center.observe(
      kNSConnectionDidDieNotification, [&](const Notification&) { dead = true; }, connection.get());
  std::optional<Array> answer = Array();
  // While the service's thread is busy here, nobody answers.
  thread.perform([&] { answer = root->call(kGreeting, "count", {}); });
  EXPECT_FALSE(answer);
  EXPECT_FALSE(root->call(kGreeting, "count", {}));
  EXPECT_TRUE(runMainLoopUntil([&] { return dead; }));
}

TEST_F(DistributedObjectsTest, AConnectionThatIsLetGoTellsNothingMore) {
  ASSERT_TRUE(publish());
  auto connection = connect();
  ASSERT_TRUE(connection);
  int deaths = 0;
  const auto observation =
      center.observe(kNSConnectionDidDieNotification, [&](const Notification&) { ++deaths; });
  connection.reset();
  std::size_t peers = 1;
  ASSERT_TRUE(runMainLoopUntil([&] {
    thread.perform([&] { peers = service->peers(); });
    g_main_context_wakeup(nullptr);
    return peers == 0;
  }));
  EXPECT_EQ(deaths, 0);
}

}  // namespace
}  // namespace wevora::platform
