#pragma once

#include <cstdint>
#include <ostream>
#include <string>

namespace wevora::command_line {

/// Shows in one line of a terminal how many bytes are done, from 16 MiB on. The destructor clears
/// the line.
class TransferProgress {
 public:
  /// Writes nothing unless `wanted`. `total` is 0 when it is unknown.
  TransferProgress(std::ostream& terminal, bool wanted, std::string what, std::uint64_t total = 0);
  ~TransferProgress();
  TransferProgress(const TransferProgress&) = delete;
  TransferProgress& operator=(const TransferProgress&) = delete;

  void add(std::uint64_t bytes);

 private:
  std::ostream& terminal_;
  const bool wanted_;
  const std::string what_;
  const std::uint64_t total_;
  std::uint64_t done_ = 0;
  std::uint64_t shown_ = 0;
};

}  // namespace wevora::command_line
