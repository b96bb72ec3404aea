// A peer of the bundle in a separate process.
//   link-peer agent SEED OBJECT ACCOUNT   an agent that announces itself and posts events
//                                         continuously, until it is killed
//   link-peer unresponsive SEED           listens, and never accepts or sends anything
//   link-peer garbage SEED                replies to everything with random bytes
//   link-peer noise SEED                  authenticates like an agent, then sends random bytes
//   link-peer storm COUNT OBJECT          posts COUNT events as fast as possible, and exits
// Each prints "ready" when its service can be found; storm prints nothing.

#include <array>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include <gio/gio.h>

#include "Connector/DaemonConnectionService.h"
#include "Platform/Base/UnixAddress.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/PublishedService.h"
#include "Tests/TestAgent/TestAgent.h"

namespace wevora::testing_host {
namespace {

using platform::Array;
using platform::BusNotificationCenter;
using platform::Value;

std::string nameOfSeed(const std::string& seed) {
  return *daemonConnectionNameAndSeed(g_get_user_name(),
                                      static_cast<std::uint32_t>(std::stoul(seed)));
}

void ready() {
  std::cout << "ready" << std::endl;
}

bool postEvent(BusNotificationCenter& center, const std::string& object, std::string path) {
  return center.post(
      {kIDaemonConnectionWVREventNotification,
       object,
       {{kIDaemonConnectionWVREventNotificationPathsKey, Value(Array{Value(std::move(path))})},
        {kIDaemonConnectionWVREventNotificationEventsKey, Value(Array{Value("Created")})}}});
}

bool announce(BusNotificationCenter& center) {
  return center.post({kIDaemonConnectionBecomeAvailableNotification, std::nullopt, {}});
}

struct EventSource {
  BusNotificationCenter& center;
  const std::string& object;
  int posted = 0;
};

gboolean postNext(gpointer data) noexcept {
  auto* events = static_cast<EventSource*>(data);
  // Repeat the announcement for clients that have not yet noticed the death of the previous agent.
  if (++events->posted % 100 == 0) announce(events->center);
  return postEvent(events->center, events->object, "/Volumes/A") ? G_SOURCE_CONTINUE
                                                                 : G_SOURCE_REMOVE;
}

int runAgent(const std::string& seed, const std::string& object, const std::string& account) {
  TestAgent agent;
  agent.object = object;
  agent.account = TestAgent::accountOf(account);
  const auto service = platform::PublishedService::publish(
      nameOfSeed(seed), daemonConnectionProtocol(),
      [&agent](const std::string& method, const Array& arguments) {
        return callDaemonConnection(agent, method, arguments);
      });
  if (!service) return 1;
  BusNotificationCenter center;
  announce(center);
  ready();
  EventSource events{center, object};
  g_timeout_add(1, &postNext, &events);
  while (true) g_main_context_iteration(nullptr, TRUE);
}

int listenOn(const std::string& name) {
  const auto path = platform::socketPath(platform::userRuntimeFolder(), name);
  const auto address = platform::UnixAddress::of(*path);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ::unlink(path->c_str());
  if (::bind(socket, address->get(), platform::UnixAddress::size()) != 0 ||
      ::listen(socket, 8) != 0)
    return -1;
  ready();
  return socket;
}

int runUnresponsive(const std::string& seed) {
  if (listenOn(nameOfSeed(seed)) < 0) return 1;
  while (true) ::pause();
}

void sendText(int peer, std::string_view text) {
  if (::send(peer, text.data(), text.size(), MSG_NOSIGNAL) < 0) return;
}

void sendNoise(int peer) {
  unsigned state = 12345;
  std::string noise(4096, '\0');
  for (char& byte : noise) {
    state = state * 1103515245U + 12345U;
    byte = static_cast<char>(state >> 16U);
  }
  noise.front() = 'l';  // first byte of a little-endian D-Bus message
  sendText(peer, noise);
}

/// Replies to the peer with random bytes; `authenticates` first lets the authentication succeed.
void reply(int peer, bool authenticates) {
  std::array<char, 4096> received{};
  while (true) {
    const auto got = ::recv(peer, received.data(), received.size(), 0);
    if (got <= 0) break;
    const std::string_view text(received.data(), static_cast<std::size_t>(got));
    if (!authenticates || text.find("BEGIN") != std::string_view::npos)
      sendNoise(peer);
    else if (text.find("NEGOTIATE_UNIX_FD") != std::string_view::npos)
      sendText(peer, "AGREE_UNIX_FD\r\n");
    else if (text.find("AUTH EXTERNAL ") != std::string_view::npos)
      sendText(peer, "OK 0123456789abcdef0123456789abcdef\r\n");
    else
      sendText(peer, "REJECTED EXTERNAL\r\n");
  }
  ::close(peer);
}

int runGarbage(const std::string& seed, bool authenticates) {
  const int socket = listenOn(nameOfSeed(seed));
  if (socket < 0) return 1;
  while (true) {
    const int peer = ::accept4(socket, nullptr, nullptr, SOCK_CLOEXEC);
    if (peer >= 0) reply(peer, authenticates);
  }
}

int runStorm(const std::string& count, const std::string& object) {
  BusNotificationCenter center;
  const int events = std::stoi(count);
  for (int i = 0; i < events; ++i)
    if (!postEvent(center, object, "/Volumes/" + std::to_string(i))) return 1;
  return center.flush() ? 0 : 1;
}

int run(const std::vector<std::string>& words) {
  const auto is = [&](std::string_view kind, std::size_t count) {
    return words.size() == count + 1 && words.front() == kind;
  };
  if (is("agent", 3)) return runAgent(words[1], words[2], words[3]);
  if (is("unresponsive", 1)) return runUnresponsive(words[1]);
  if (is("garbage", 1)) return runGarbage(words[1], false);
  if (is("noise", 1)) return runGarbage(words[1], true);
  if (is("storm", 2)) return runStorm(words[1], words[2]);
  return 2;
}

}  // namespace
}  // namespace wevora::testing_host

int main(int count, char** arguments) {
  return wevora::testing_host::run(std::vector<std::string>(arguments + 1, arguments + count));
}
