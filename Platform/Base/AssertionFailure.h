#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace wevora::platform {

/// Exception for a broken invariant. The message and the source location are the fixed values that
/// the throwing code passes.
class AssertionFailure : public std::logic_error {
 public:
  AssertionFailure(std::string_view message, std::string_view source, int line)
      : std::logic_error(std::string(message)), source_(source), line_(line) {}

  const std::string& source() const noexcept { return source_; }
  int line() const noexcept { return line_; }

 private:
  std::string source_;
  int line_;
};

}  // namespace wevora::platform
