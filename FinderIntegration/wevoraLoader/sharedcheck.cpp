#include "FinderIntegration/wevoraLoader/sharedcheck.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "FinderIntegration/wevoraLoader/InstalledVersion.h"
#include "Platform/Base/Guard.h"

namespace wevora {
namespace {

constexpr mode_t kMode = 777;  // decimal, as in the loader: octal 1411
static_assert(kMode == 01411);

struct SharedObject {
  int descriptor;  ///< negative if opening failed
  bool created;    ///< by this call
};

SharedObject openSharedObject() {
  int descriptor = ::shm_open(kSharedRecordName, O_RDWR | O_CREAT | O_EXCL, kMode);
  // Descriptor 0 counts as a failure, although the object was created.
  if (descriptor > 0) return {descriptor, true};
  descriptor = ::shm_open(kSharedRecordName, O_RDWR | O_CREAT, kMode);
  return {descriptor, false};
}

/// Allocates the record's page now: with shared memory full, the first write to the mapping would
/// kill the host with SIGBUS. Retries when a signal interrupts the call.
bool allocateRecord(int descriptor) {
  int error = EINTR;
  while (error == EINTR) error = ::posix_fallocate(descriptor, 0, sizeof(SharedRecord));
  return error == 0;
}

/// Null if the object cannot be mapped. Never unmapped.
SharedRecord* mapRecord(int descriptor) {
  [[maybe_unused]] const int ignored = ::ftruncate(descriptor, sizeof(SharedRecord));
  if (!allocateRecord(descriptor)) return nullptr;
  void* mapping =
      ::mmap(nullptr, sizeof(SharedRecord), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  return mapping == MAP_FAILED ? nullptr : static_cast<SharedRecord*>(mapping);
}

}  // namespace

void setVersion(std::int32_t major, std::int32_t minor, std::int32_t patch) noexcept {
  static SharedRecord* conf = nullptr;
  const SharedObject object = openSharedObject();
  if (object.descriptor < 0) return;
  conf = mapRecord(object.descriptor);
  // On failure the descriptor stays open and the name stays linked.
  if (conf == nullptr) return;
  conf->major = major;
  conf->minor = minor;
  conf->patch = patch;
  conf->processId = ::getpid();
  ::close(object.descriptor);
  ::shm_unlink(kSharedRecordName);
}

std::int32_t shouldKillFinder() noexcept {
  static SharedRecord* conf = nullptr;
  const auto installed = platform::catchAllOr(std::optional<BundleVersion>(), [] {
    return installedVersion(platform::InstalledPaths::shared());
  });
  const SharedObject object = openSharedObject();
  if (object.descriptor < 0) {
    std::printf("Could not create shm object. %s\n", std::strerror(errno));
    return 0;
  }
  conf = mapRecord(object.descriptor);
  if (conf == nullptr) return 0;
  const BundleVersion recorded{conf->major, conf->minor, conf->patch};
  const std::int32_t result = installed == recorded ? 1 : 0;
  ::close(object.descriptor);
  if (object.created) ::shm_unlink(kSharedRecordName);
  return result;
}

}  // namespace wevora
