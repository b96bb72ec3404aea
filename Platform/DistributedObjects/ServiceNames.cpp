#include "Platform/DistributedObjects/ServiceNames.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include <glib.h>

#include "Platform/Support/UnixAddress.h"

namespace wevora::platform {
namespace {

bool isSocketOf(uid_t user, const std::string& path) {
  struct stat facts {};
  return ::lstat(path.c_str(), &facts) == 0 && S_ISSOCK(facts.st_mode) && facts.st_uid == user;
}

bool peerIs(uid_t user, int descriptor) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == user;
}

}  // namespace

std::string userRuntimeFolder() {
  return g_get_user_runtime_dir();
}

std::optional<std::string> socketPath(const std::string& folder, const std::string& name) {
  if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos ||
      name.find('\0') != std::string::npos)
    return std::nullopt;
  std::string path = folder + "/" + name;
  return UnixAddress::of(path) ? std::optional(std::move(path)) : std::nullopt;
}

Descriptor connectToOwnSocket(const std::string& path, uid_t user) {
  if (!isSocketOf(user, path)) return {};
  // Not blocking: a listener whose queue is full refuses instead of making us wait.
  Descriptor descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const auto address = UnixAddress::of(path);
  if (!descriptor || !address ||
      ::connect(descriptor.get(), address->get(), UnixAddress::size()) != 0)
    return {};
  return peerIs(user, descriptor.get()) ? std::move(descriptor) : Descriptor();
}

}  // namespace wevora::platform
