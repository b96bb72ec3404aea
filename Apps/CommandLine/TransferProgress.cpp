#include "Apps/CommandLine/TransferProgress.h"

#include <algorithm>
#include <utility>

namespace wevora::command_line {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;
constexpr std::uint64_t kStep = 16 * kMiB;

}  // namespace

TransferProgress::TransferProgress(std::ostream& terminal, bool wanted, std::string what,
                                   std::uint64_t total)
    : terminal_(terminal), wanted_(wanted), what_(std::move(what)), total_(total) {}

TransferProgress::~TransferProgress() {
  if (shown_ > 0) terminal_ << "\r\033[K" << std::flush;
}

void TransferProgress::add(std::uint64_t bytes) {
  done_ += bytes;
  if (!wanted_ || done_ - shown_ < kStep) return;
  shown_ = done_;
  terminal_ << '\r' << what_ << ": " << done_ / kMiB << " MiB";
  if (total_ > 0)
    terminal_ << " of " << total_ / kMiB << " MiB, "
              << std::min<std::uint64_t>(100, done_ * 100 / total_) << " %";
  terminal_ << "\033[K" << std::flush;
}

}  // namespace wevora::command_line
