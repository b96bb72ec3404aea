#pragma once

#include <cstdint>

namespace wevora {

// A shared-memory record from which the loader learns the bundle version of a running host. Both
// functions are exported under their plain names.

/// The record's name.
inline constexpr const char* kSharedRecordName = "finder.shared";

/// The record, in native byte order.
struct SharedRecord {
  std::int32_t major;
  std::int32_t minor;
  std::int32_t patch;
  std::int32_t processId;  ///< of the host that loaded the bundle
};
static_assert(sizeof(SharedRecord) == 16);

extern "C" {

/// Writes this process's version to the record and unlinks its name; the mapping stays in this
/// process's memory. The main thread only.
/// Errors: does nothing if the record cannot be opened or mapped.
[[gnu::visibility("default")]] void setVersion(std::int32_t major, std::int32_t minor,
                                               std::int32_t patch) noexcept;

/// 1 if the record exists and holds the currently installed version, otherwise 0.
/// Thread-safety: not reentrant.
/// Errors: 0. If the record cannot be opened, also prints a message to standard output.
[[gnu::visibility("default")]] std::int32_t shouldKillFinder() noexcept;
}

}  // namespace wevora
