#include "Platform/Files/Copy/CopyData.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Errno.h"

namespace wevora::platform {
namespace {

/// Maximum bytes per copy_file_range(2) call, so that the progress is updated regularly.
constexpr off_t kKernelChunk = off_t{16} << 20;
constexpr std::size_t kBufferSize = std::size_t{256} << 10;

/// Copies the bytes of one file; holds the buffer and the state of one copy.
class DataCopy {
 public:
  DataCopy(FileSystemCalls& calls, int from, int to, const ByteProgress& progress)
      : calls_(calls), from_(from), to_(to), progress_(progress) {}

  std::error_code copyAll(off_t size) {
    off_t at = 0;
    while (at < size) {
      const off_t begin = std::min(dataFrom(at, size), size);
      const off_t end = std::min(holeFrom(begin, size), size);
      report(begin - at);
      if (const auto failed = copyRange(begin, end)) return failed;
      at = end;
    }
    if (calls_.resize(to_, size) != 0) return lastError();
    return {};
  }

  std::error_code copyToEnd() {
    off_t at = 0;
    for (;;) {
      const auto copied = readAndWrite(at, std::numeric_limits<off_t>::max());
      if (!copied) return lastError();
      if (*copied == 0) return {};
      at += *copied;
    }
  }

 private:
  void report(off_t bytes) {
    if (progress_ && bytes > 0) progress_(static_cast<std::uint64_t>(bytes));
  }

  /// The start of the data at or after `at`. A file system without SEEK_DATA has only data.
  off_t dataFrom(off_t at, off_t size) const {
    const off_t data = ::lseek(from_, at, SEEK_DATA);
    if (data >= 0) return data;
    return errno == ENXIO ? size : at;
  }
  off_t holeFrom(off_t at, off_t size) const {
    const off_t hole = ::lseek(from_, at, SEEK_HOLE);
    return hole > at ? hole : size;
  }

  std::error_code copyRange(off_t begin, off_t end) {
    while (begin < end) {
      auto copied = copyByKernel(begin, end);
      if (!copied) copied = readAndWrite(begin, end);
      if (!copied) return lastError();
      if (*copied == 0)
        return std::make_error_code(std::errc::text_file_busy);  // the source shrank
      begin += *copied;
    }
    return {};
  }

  /// nullopt when the kernel cannot copy. The reason does not matter: the fallback reads the same
  /// range and reports a real I/O error.
  std::optional<off_t> copyByKernel(off_t begin, off_t end) {
    if (!kernelCopies_) return std::nullopt;
    const auto wanted = static_cast<std::size_t>(std::min(end - begin, kKernelChunk));
    const ssize_t copied = calls_.copyRange(from_, to_, begin, wanted);
    if (copied <= 0) {
      kernelCopies_ = copied < 0 && errno == EINTR;
      return std::nullopt;
    }
    report(copied);
    return copied;
  }

  /// Bytes copied, 0 at the end of the source; nullopt with errno set on failure.
  std::optional<off_t> readAndWrite(off_t begin, off_t end) {
    buffer_.resize(kBufferSize);
    const auto wanted =
        static_cast<std::size_t>(std::min(end - begin, static_cast<off_t>(kBufferSize)));
    ssize_t read = 0;
    do {
      read = calls_.read(from_, buffer_.data(), wanted, begin);
    } while (read < 0 && errno == EINTR);
    if (read < 0) return std::nullopt;
    for (ssize_t done = 0; done < read;) {
      const ssize_t written = calls_.write(to_, buffer_.data() + done,
                                           static_cast<std::size_t>(read - done), begin + done);
      if (written < 0 && errno == EINTR) continue;
      if (written == 0) errno = EIO;  // retrying would loop forever
      if (written <= 0) return std::nullopt;
      done += written;
    }
    report(read);
    return read;
  }

  FileSystemCalls& calls_;
  int from_;
  int to_;
  const ByteProgress& progress_;
  std::vector<std::byte> buffer_;
  bool kernelCopies_ = true;
};

}  // namespace

std::error_code copyData(FileSystemCalls& calls, int from, int to, off_t size,
                         const ByteProgress& progress) {
  if (size > 0 && calls.clone(to, from) == 0) {
    if (progress) progress(static_cast<std::uint64_t>(size));
    return {};
  }
  DataCopy copy(calls, from, to, progress);
  return size > 0 ? copy.copyAll(size) : copy.copyToEnd();
}

}  // namespace wevora::platform
