#pragma once

#include <cstdint>

namespace wevora {

// How the loader learns which version of the bundle a running host holds: through a small record
// in shared memory. Both functions are exported under their plain names.

/// The record's name.
inline constexpr const char* kSharedRecordName = "finder.shared";

/// The record, in the machine's byte order.
struct SharedRecord {
  std::int32_t major;
  std::int32_t minor;
  std::int32_t patch;
  std::int32_t processId;  ///< of the host into which the bundle was loaded
};
static_assert(sizeof(SharedRecord) == 16);

extern "C" {

/// Records the version that this process holds, and takes the record's name away: it lives on in
/// this process's memory. Threads: the main thread. Errors: without a record nothing is done.
[[gnu::visibility("default")]] void setVersion(std::int32_t major, std::int32_t minor,
                                               std::int32_t patch) noexcept;

/// 1 where a record lies under the name and holds the version that is installed now; else 0.
/// Threads: one at a time. Errors: 0; a record that cannot be opened is told on standard output.
[[gnu::visibility("default")]] std::int32_t shouldKillFinder() noexcept;
}

}  // namespace wevora
