#include "Platform/Files/MD5.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <memory>

#include <glib.h>

#include "Platform/Base/Descriptor.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {
namespace {

constexpr std::size_t kChunkSize = 16384;

struct ChecksumFree {
  void operator()(GChecksum* checksum) const noexcept { g_checksum_free(checksum); }
};

}  // namespace

std::optional<std::string> md5OfFile(const std::string& path, const ByteProgress& progress) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  // Devices may be endless, and a pipe blocks until its writer closes it.
  if (!file || !isRegularFile(statOf(file.get()))) return std::nullopt;
  const std::unique_ptr<GChecksum, ChecksumFree> digest(g_checksum_new(G_CHECKSUM_MD5));
  std::array<unsigned char, kChunkSize> chunk;
  for (;;) {
    const ssize_t read = ::read(file.get(), chunk.data(), chunk.size());
    if (read < 0 && errno == EINTR) continue;
    // A digest of a part must not pass for that of the whole file.
    if (read < 0) return std::nullopt;
    if (read == 0) break;
    g_checksum_update(digest.get(), chunk.data(), read);
    if (progress) progress(static_cast<std::uint64_t>(read));
  }
  return g_checksum_get_string(digest.get());
}

}  // namespace wevora::platform
