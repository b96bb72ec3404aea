#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Base/UnixAddress.h"
#include "Platform/IPC/InterfaceDescription.h"
#include "Platform/IPC/PublishedService.h"
#include "Platform/IPC/SocketConnections.h"
#include "Platform/IPC/SocketLockFile.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Doubles/VirtualClock.h"
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

/// Counts what it costs to reach somebody; the other side's user can be another.
struct CountingCalls : SocketCalls {
  int connects = 0;
  uid_t moreThanUser = 0;
  int connect(int socket, const UnixAddress& address) override {
    ++connects;
    return SocketCalls::connect(socket, address);
  }
  std::optional<ucred> peerOf(int socket) override {
    auto peer = SocketCalls::peerOf(socket);
    if (peer) peer->uid += moreThanUser;
    return peer;
  }
};

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
  SocketConnections objects{center, folder.path(), std::chrono::seconds(1)};
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

TEST_F(DistributedObjectsTest, AListenerThatHasNoTimeKeepsItsName) {
  const Descriptor busy = muteSocket(folder.path("service"));
  std::vector<Descriptor> waiting;
  SocketCalls calls;
  int error = 0;
  while (error == 0) {
    auto reached = reachOwnSocket(folder.path("service"), calls);
    error = reached.error;
    waiting.push_back(std::move(reached.socket));
  }
  ASSERT_EQ(error, EAGAIN);
  EXPECT_FALSE(publish());
  waiting.clear();
  EXPECT_FALSE(publish());
}

TEST_F(DistributedObjectsTest, WhatIsNoSocketIsNotTakenOver) {
  std::ofstream(folder.path("service")) << "x";
  EXPECT_FALSE(publish());
  EXPECT_EQ(std::filesystem::file_size(folder.path("service")), 1U);
}

TEST_F(DistributedObjectsTest, ANameThatAnotherIsJustTakingIsNotTaken) {
  { const Descriptor gone = muteSocket(folder.path("service")); }
  {
    const SocketLockFile other(folder.path("service"));
    ASSERT_TRUE(other);
    EXPECT_FALSE(publish());
  }
  EXPECT_TRUE(publish());
  EXPECT_FALSE(std::filesystem::exists(folder.path("service.lock")));
}

TEST_F(DistributedObjectsTest, OfTwoThatStartAtOnceExactlyOneHasTheName) {
  ServiceThread secondThread;
  for (int round = 0; round < 50; ++round) {
    end();
    { const Descriptor gone = muteSocket(folder.path("service")); }
    std::unique_ptr<PublishedService> second;
    std::thread other([&] {
      secondThread.perform(
          [&] { second = PublishedService::publish("service", kGreeting, greet, folder.path()); });
    });
    const bool first = publish();
    other.join();
    EXPECT_NE(first, second != nullptr) << round;
    EXPECT_TRUE(connect()) << round;
    secondThread.perform([&] { second.reset(); });
    std::filesystem::remove(folder.path("service"));
  }
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

TEST_F(DistributedObjectsTest, OurOwnSocketOnWhichAnotherUserListensIsNoPort) {
  ASSERT_TRUE(publish());
  const auto calls = std::make_shared<CountingCalls>();
  SocketConnections asked(center, folder.path(), std::chrono::seconds(1),
                          std::make_shared<SystemClock>(), calls);
  EXPECT_TRUE(asked.portForName("service"));
  calls->moreThanUser = 1;
  EXPECT_FALSE(asked.portForName("service"));
  EXPECT_EQ(calls->connects, 2);  // nothing but who listens is in the way
  EXPECT_EQ(reachOwnSocket(folder.path("service"), *calls).error, EACCES);
}

TEST_F(DistributedObjectsTest, AnAbsentNameCostsNoConnectAndAStaleSocketOne) {
  const auto calls = std::make_shared<CountingCalls>();
  SocketConnections asked(center, folder.path(), std::chrono::seconds(1),
                          std::make_shared<SystemClock>(), calls);
  EXPECT_FALSE(asked.portForName("absent"));
  EXPECT_EQ(calls->connects, 0);
  { const Descriptor gone = muteSocket(folder.path("stale")); }
  EXPECT_FALSE(asked.portForName("stale"));
  EXPECT_EQ(calls->connects, 1);
  ASSERT_TRUE(publish());
  EXPECT_TRUE(asked.connectionWithSendPort(asked.portForName("service")));
  EXPECT_EQ(calls->connects, 2);
}

TEST_F(DistributedObjectsTest, APeerThatNeverSaysWhoItIsIsSentAway) {
  thread.perform([&] {
    service = PublishedService::publish("service", {{kGreeting, greet}}, folder.path(),
                                        std::chrono::milliseconds(50));
  });
  const auto connection = connect();
  ASSERT_TRUE(connection);
  const Descriptor mute = connectToOwnSocket(folder.path("service"));
  ASSERT_TRUE(mute);
  pollfd hungUp{mute.get(), POLLIN, 0};
  ASSERT_EQ(::poll(&hungUp, 1, 10000), 1);
  char byte = 0;
  EXPECT_EQ(::recv(mute.get(), &byte, 1, 0), 0);
  EXPECT_TRUE(connection->rootProxy()->call(kGreeting, "count", {}));
}

TEST_F(DistributedObjectsTest, AServiceMayEndWhileAPeerHasNotSaidWhoItIs) {
  ASSERT_TRUE(publish());
  const Descriptor mute = connectToOwnSocket(folder.path("service"));
  ASSERT_TRUE(connect());  // the one before it has been received
  end();
  pollfd hungUp{mute.get(), POLLIN, 0};
  EXPECT_EQ(::poll(&hungUp, 1, 10000), 1);
}

TEST_F(DistributedObjectsTest, WaitsForOnePeerAddUp) {
  const auto clock = std::make_shared<VirtualClock>();
  thread.perform([&] {
    service = PublishedService::publish(
        "service", kGreeting,
        [&](const std::string& method, const Array& arguments) {
          clock->advance(std::chrono::milliseconds(1900));
          return greet(method, arguments);
        },
        folder.path());
  });
  SocketConnections asked(center, folder.path(), std::chrono::seconds(2), clock);
  const auto connection = asked.connectionWithSendPort(asked.portForName("service"));
  ASSERT_TRUE(connection);
  const auto root = connection->rootProxy();
  bool dead = false;
  const auto observation = center.observe(
      kNSConnectionDidDieNotification, [&](const Notification&) { dead = true; }, connection.get());
  EXPECT_TRUE(root->call(kGreeting, "count", {}));
  EXPECT_FALSE(root->call(kGreeting, "count", {}));
  EXPECT_TRUE(runMainLoopUntil([&] { return dead; }));
  const auto before = clock->uptime();
  EXPECT_FALSE(root->call(kGreeting, "count", {}));
  EXPECT_EQ(clock->uptime(), before);  // it was not even asked
}

TEST_F(DistributedObjectsTest, AProcessThatLeftACallUnansweredHasNoPortUntilItAnswers) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  thread.perform([&] {  // nobody answers meanwhile
    EXPECT_FALSE(connection->rootProxy()->call(kGreeting, "count", {}));
    EXPECT_FALSE(objects.portForName("service"));
  });
  std::shared_ptr<Connection> anew;
  ASSERT_TRUE(runMainLoopUntil([&] {
    g_main_context_wakeup(nullptr);
    return (anew = connect()) != nullptr;
  }));
  EXPECT_TRUE(anew->rootProxy()->call(kGreeting, "count", {}));
}

TEST_F(DistributedObjectsTest, APeerThatAcceptsAndNeverSpeaksIsNoConnection) {
  const Descriptor mute = muteSocket(folder.path("service"));
  EXPECT_TRUE(objects.portForName("service"));
  EXPECT_FALSE(connect());
}

TEST_F(DistributedObjectsTest, TheSocketOfAPeerThatRejectsUsIsClosed) {
  const Descriptor listener = muteSocket(folder.path("service"));
  bool hungUp = false;
  std::thread rejecting([&] {
    const Descriptor peer(::accept(listener.get(), nullptr, nullptr));
    const std::string_view twice = "REJECTED EXTERNAL\r\nREJECTED EXTERNAL\r\n";
    const timeval most{10, 0};
    ::setsockopt(peer.get(), SOL_SOCKET, SO_RCVTIMEO, &most, sizeof most);
    if (::send(peer.get(), twice.data(), twice.size(), MSG_NOSIGNAL) < 0) return;
    std::array<char, 256> heard{};
    ssize_t got = 1;
    while (got > 0) got = ::recv(peer.get(), heard.data(), heard.size(), 0);
    hungUp = got == 0 || errno == ECONNRESET;
  });
  EXPECT_FALSE(connect());
  rejecting.join();
  EXPECT_TRUE(hungUp);
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

TEST(DescriptionTest, AProtocolsTextIsParsedOnce) {
  const auto first = descriptionOf(kGreeting);
  EXPECT_EQ(descriptionOf(WireProtocol(kGreeting)), first);
  EXPECT_NE(descriptionOf(kLarger), first);
  EXPECT_NE(first->method("greet_"), nullptr);
}

/// A process of another user's that listens on a socket which it has made over to us; where we may
/// not become another user, one of our own.
class OtherUser {
 public:
  explicit OtherUser(const std::string& path) {
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0) throw std::runtime_error("no pipe");
    const Descriptor told(pipe[0]);
    Descriptor telling(pipe[1]);
    pid_ = ::fork();
    if (pid_ == 0) listen(path, telling.get());
    telling = Descriptor();
    char byte = 0;
    listens_ = ::read(told.get(), &byte, 1) == 1 && ::chown(path.c_str(), ::getuid(), kSame) == 0;
  }
  ~OtherUser() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  OtherUser(const OtherUser&) = delete;
  OtherUser& operator=(const OtherUser&) = delete;
  bool listens() const { return listens_; }

 private:
  static constexpr gid_t kSame = static_cast<gid_t>(-1);
  [[noreturn]] static void listen(const std::string& path, int telling) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const auto address = UnixAddress::of(path);
    if ((::getuid() != 0 || ::setuid(65534) == 0) &&
        ::bind(socket, address->get(), UnixAddress::size()) == 0 && ::listen(socket, 4) == 0 &&
        ::write(telling, "x", 1) == 1)
      while (true) ::pause();
    ::_exit(1);
  }
  pid_t pid_ = 0;
  bool listens_ = false;
};

TEST(ServiceNamesTest, WhoListensIsAskedOfTheSystem) {
  const TemporaryFolder folder;
  std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
  const auto path = folder.path("service");
  const OtherUser other(path);
  ASSERT_TRUE(other.listens());
  CountingCalls calls;
  const auto reached = reachOwnSocket(path, calls);
  EXPECT_EQ(calls.connects, 1);
  EXPECT_EQ(static_cast<bool>(reached.socket), ::getuid() != 0);
  EXPECT_EQ(reached.error, ::getuid() != 0 ? 0 : EACCES);
  // As the other user's own service it would be one.
  calls.moreThanUser = ::getuid() != 0 ? 0 : static_cast<uid_t>(-65534);
  EXPECT_TRUE(reachOwnSocket(path, calls).socket);
}

}  // namespace
}  // namespace wevora::platform
