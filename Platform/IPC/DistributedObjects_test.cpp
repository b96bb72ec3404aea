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

/// A socket that listens but never accepts or replies.
Descriptor unresponsiveSocket(const std::string& path) {
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  const auto address = UnixAddress::of(path);
  EXPECT_EQ(::bind(socket.get(), address->get(), UnixAddress::size()), 0);
  EXPECT_EQ(::listen(socket.get(), 4), 0);
  return socket;
}

/// Counts calls of connect(2), and can fake the uid of the peer.
struct CountingCalls : SocketCalls {
  int connects = 0;
  uid_t addedToPeerUid = 0;
  int connect(int socket, const UnixAddress& address) override {
    ++connects;
    return SocketCalls::connect(socket, address);
  }
  std::optional<ucred> peerOf(int socket) override {
    auto peer = SocketCalls::peerOf(socket);
    if (peer) peer->uid += addedToPeerUid;
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

TEST_F(DistributedObjectsTest, AMethodReturnsItsResultAndThenItsOutArguments) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  connection->enableMultipleThreads();
  const auto root = connection->rootProxy();
  EXPECT_EQ(root->call(kGreeting, "greet_", {"Zo\xC3\xAB"}), Array{"hello Zo\xC3\xAB"});
  EXPECT_EQ(root->call(kGreeting, "count", {}), (Array{std::int64_t{2}, Array{"a", "b"}}));
}

TEST_F(DistributedObjectsTest, AServiceImplementsEveryProtocolThatItOffers) {
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

TEST_F(DistributedObjectsTest, AFailedCallReturnsNothingAndTheConnectionStaysOpen) {
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

TEST_F(DistributedObjectsTest, ARootObjectConformsIfItHasEveryMethodWithTheSameTypes) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  const auto root = connection->rootProxy();
  EXPECT_TRUE(root->conformsToProtocol(kGreeting));
  EXPECT_FALSE(root->conformsToProtocol(kLarger));
  EXPECT_FALSE(root->conformsToProtocol(kOtherTypes));
  EXPECT_FALSE(root->conformsToProtocol({"com.Wevora.Absent", "<node/>"}));
}

TEST_F(DistributedObjectsTest, AStaleSocketIsNotAPortAndIsReplaced) {
  { const Descriptor gone = unresponsiveSocket(folder.path("service")); }
  EXPECT_FALSE(objects.portForName("service"));
  ASSERT_TRUE(publish());
  EXPECT_TRUE(objects.portForName("service"));
}

TEST_F(DistributedObjectsTest, AListenerWithAFullBacklogKeepsItsName) {
  const Descriptor busy = unresponsiveSocket(folder.path("service"));
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

TEST_F(DistributedObjectsTest, AFileThatIsNotASocketIsNotReplaced) {
  std::ofstream(folder.path("service")) << "x";
  EXPECT_FALSE(publish());
  EXPECT_EQ(std::filesystem::file_size(folder.path("service")), 1U);
}

TEST_F(DistributedObjectsTest, ANameThatAnotherProcessIsTakingIsNotTaken) {
  { const Descriptor gone = unresponsiveSocket(folder.path("service")); }
  {
    const SocketLockFile other(folder.path("service"));
    ASSERT_TRUE(other);
    EXPECT_FALSE(publish());
  }
  EXPECT_TRUE(publish());
  EXPECT_FALSE(std::filesystem::exists(folder.path("service.lock")));
}

TEST_F(DistributedObjectsTest, OfTwoServicesThatStartAtOnceExactlyOneGetsTheName) {
  ServiceThread secondThread;
  for (int round = 0; round < 50; ++round) {
    end();
    { const Descriptor gone = unresponsiveSocket(folder.path("service")); }
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

TEST_F(DistributedObjectsTest, TheNameOfARunningServiceIsNotTakenOver) {
  ASSERT_TRUE(publish());
  bool second = true;
  thread.perform([&] {
    second = PublishedService::publish("service", kGreeting, greet, folder.path()) != nullptr;
  });
  EXPECT_FALSE(second);
  EXPECT_TRUE(connect());
}

TEST_F(DistributedObjectsTest, AnEndedServiceRemovesItsSocket) {
  ASSERT_TRUE(publish());
  end();
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(DistributedObjectsTest, AnEndedServiceKeepsASocketThatReplacedItsOwn) {
  ASSERT_TRUE(publish());
  std::filesystem::remove(folder.path("service"));
  const Descriptor other = unresponsiveSocket(folder.path("service"));
  end();
  EXPECT_TRUE(std::filesystem::exists(folder.path("service")));
}

TEST_F(DistributedObjectsTest, NamesThatAreNotFileNamesAreRejected) {
  for (const char* name : {"", ".", "..", "a/b", "/tmp/x"}) {
    EXPECT_FALSE(objects.portForName(name)) << name;
    EXPECT_FALSE(publish(name)) << name;
  }
  EXPECT_FALSE(objects.portForName(std::string(200, 'x')));
  EXPECT_FALSE(objects.portForName(std::string("a\0b", 3)));
}

TEST_F(DistributedObjectsTest, AFileThatIsNotASocketIsNotAPort) {
  std::ofstream(folder.path("file")) << "x";
  std::filesystem::create_directory(folder.path("folder"));
  ASSERT_TRUE(publish());
  std::filesystem::create_symlink(folder.path("service"), folder.path("link"));
  for (const char* name : {"file", "folder", "link", "missing"})
    EXPECT_FALSE(objects.portForName(name)) << name;
}

TEST_F(DistributedObjectsTest, AnotherUsersSocketIsNotAPort) {
  ASSERT_TRUE(publish());
  EXPECT_TRUE(connectToOwnSocket(folder.path("service")));
  EXPECT_FALSE(connectToOwnSocket(folder.path("service"), ::getuid() + 1));
}

TEST_F(DistributedObjectsTest, OurOwnSocketOnWhichAnotherUserListensIsNotAPort) {
  ASSERT_TRUE(publish());
  const auto calls = std::make_shared<CountingCalls>();
  SocketConnections connections(center, folder.path(), std::chrono::seconds(1),
                                std::make_shared<SystemClock>(), calls);
  EXPECT_TRUE(connections.portForName("service"));
  calls->addedToPeerUid = 1;
  EXPECT_FALSE(connections.portForName("service"));
  EXPECT_EQ(calls->connects, 2);  // only the listener's uid differs
  EXPECT_EQ(reachOwnSocket(folder.path("service"), *calls).error, EACCES);
}

TEST_F(DistributedObjectsTest, AnAbsentNameCostsNoConnectAndAStaleSocketOne) {
  const auto calls = std::make_shared<CountingCalls>();
  SocketConnections connections(center, folder.path(), std::chrono::seconds(1),
                                std::make_shared<SystemClock>(), calls);
  EXPECT_FALSE(connections.portForName("absent"));
  EXPECT_EQ(calls->connects, 0);
  { const Descriptor gone = unresponsiveSocket(folder.path("stale")); }
  EXPECT_FALSE(connections.portForName("stale"));
  EXPECT_EQ(calls->connects, 1);
  ASSERT_TRUE(publish());
  EXPECT_TRUE(connections.connectionWithSendPort(connections.portForName("service")));
  EXPECT_EQ(calls->connects, 2);
}

TEST_F(DistributedObjectsTest, APeerThatDoesNotAuthenticateIsDisconnectedAfterTheTimeout) {
  thread.perform([&] {
    service = PublishedService::publish("service", {{kGreeting, greet}}, folder.path(),
                                        std::chrono::milliseconds(50));
  });
  const auto connection = connect();
  ASSERT_TRUE(connection);
  const Descriptor unresponsive = connectToOwnSocket(folder.path("service"));
  ASSERT_TRUE(unresponsive);
  pollfd hungUp{unresponsive.get(), POLLIN, 0};
  ASSERT_EQ(::poll(&hungUp, 1, 10000), 1);
  char byte = 0;
  EXPECT_EQ(::recv(unresponsive.get(), &byte, 1, 0), 0);
  EXPECT_TRUE(connection->rootProxy()->call(kGreeting, "count", {}));
}

TEST_F(DistributedObjectsTest, AServiceMayEndWhileAPeerIsAuthenticating) {
  ASSERT_TRUE(publish());
  const Descriptor unresponsive = connectToOwnSocket(folder.path("service"));
  ASSERT_TRUE(connect());  // accepted after the unresponsive peer
  end();
  pollfd hungUp{unresponsive.get(), POLLIN, 0};
  EXPECT_EQ(::poll(&hungUp, 1, 10000), 1);
}

TEST_F(DistributedObjectsTest, SlowCallsExhaustTheWaitBudgetOfAConnection) {
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
  SocketConnections connections(center, folder.path(), std::chrono::seconds(2), clock);
  const auto connection = connections.connectionWithSendPort(connections.portForName("service"));
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
  EXPECT_EQ(clock->uptime(), before);  // the call was not sent
}

TEST_F(DistributedObjectsTest, AProcessThatTimedOutHasNoPortUntilItReplies) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  thread.perform([&] {  // blocks the service's thread meanwhile
    EXPECT_FALSE(connection->rootProxy()->call(kGreeting, "count", {}));
    EXPECT_FALSE(objects.portForName("service"));
  });
  std::shared_ptr<Connection> reconnected;
  ASSERT_TRUE(runMainLoopUntil([&] {
    g_main_context_wakeup(nullptr);
    return (reconnected = connect()) != nullptr;
  }));
  EXPECT_TRUE(reconnected->rootProxy()->call(kGreeting, "count", {}));
}

TEST_F(DistributedObjectsTest, APeerThatNeverAuthenticatesIsNotConnected) {
  const Descriptor unresponsive = unresponsiveSocket(folder.path("service"));
  EXPECT_TRUE(objects.portForName("service"));
  EXPECT_FALSE(connect());
}

TEST_F(DistributedObjectsTest, TheSocketOfAPeerThatRejectsUsIsClosed) {
  const Descriptor listener = unresponsiveSocket(folder.path("service"));
  bool hungUp = false;
  std::thread rejecting([&] {
    const Descriptor peer(::accept(listener.get(), nullptr, nullptr));
    const std::string_view twice = "REJECTED EXTERNAL\r\nREJECTED EXTERNAL\r\n";
    const timeval most{10, 0};
    ::setsockopt(peer.get(), SOL_SOCKET, SO_RCVTIMEO, &most, sizeof most);
    if (::send(peer.get(), twice.data(), twice.size(), MSG_NOSIGNAL) < 0) return;
    std::array<char, 256> received{};
    ssize_t got = 1;
    while (got > 0) got = ::recv(peer.get(), received.data(), received.size(), 0);
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

TEST_F(DistributedObjectsTest, TheDeathOfThePeerIsPostedForItsConnectionOnTheMainThread) {
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

TEST_F(DistributedObjectsTest, ACallTimeoutClosesTheConnection) {
  ASSERT_TRUE(publish());
  const auto connection = connect();
  ASSERT_TRUE(connection);
  const auto root = connection->rootProxy();
  ASSERT_TRUE(root->call(kGreeting, "count", {}));
  bool dead = false;
  const auto observation = center.observe(
      kNSConnectionDidDieNotification, [&](const Notification&) { dead = true; }, connection.get());
  std::optional<Array> reply = Array();
  // The service cannot reply while its thread is busy here.
  thread.perform([&] { reply = root->call(kGreeting, "count", {}); });
  EXPECT_FALSE(reply);
  EXPECT_FALSE(root->call(kGreeting, "count", {}));
  EXPECT_TRUE(runMainLoopUntil([&] { return dead; }));
}

TEST_F(DistributedObjectsTest, AReleasedConnectionPostsNothing) {
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

TEST(DescriptionTest, AProtocolIsParsedOnce) {
  const auto first = descriptionOf(kGreeting);
  EXPECT_EQ(descriptionOf(WireProtocol(kGreeting)), first);
  EXPECT_NE(descriptionOf(kLarger), first);
  EXPECT_NE(first->method("greet_"), nullptr);
}

/// A process of another user that listens on a socket whose owner is changed to us. Without the
/// privilege to change users, the process has our own uid.
class OtherUser {
 public:
  explicit OtherUser(const std::string& path) {
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0) throw std::runtime_error("cannot create a pipe");
    const Descriptor readEnd(pipe[0]);
    Descriptor writeEnd(pipe[1]);
    pid_ = ::fork();
    if (pid_ == 0) listen(path, writeEnd.get());
    writeEnd = Descriptor();
    char byte = 0;
    listens_ =
        ::read(readEnd.get(), &byte, 1) == 1 && ::chown(path.c_str(), ::getuid(), kSame) == 0;
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
  [[noreturn]] static void listen(const std::string& path, int writeEnd) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const auto address = UnixAddress::of(path);
    if ((::getuid() != 0 || ::setuid(65534) == 0) &&
        ::bind(socket, address->get(), UnixAddress::size()) == 0 && ::listen(socket, 4) == 0 &&
        ::write(writeEnd, "x", 1) == 1)
      while (true) ::pause();
    ::_exit(1);
  }
  pid_t pid_ = 0;
  bool listens_ = false;
};

TEST(ServiceNamesTest, TheListenersUserIsReadFromTheSocket) {
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
  // With a matching uid the socket is accepted.
  calls.addedToPeerUid = ::getuid() != 0 ? 0 : static_cast<uid_t>(-65534);
  EXPECT_TRUE(reachOwnSocket(path, calls).socket);
}

}  // namespace
}  // namespace wevora::platform
