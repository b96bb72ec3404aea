#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace wevora::command_line {

/// A wrong call, with the reason in one line.
class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The arguments of a program, taken one after another.
/// Threads: one. Owns: nothing. Errors: throws WrongUsage.
class Arguments {
 public:
  explicit Arguments(std::span<const char* const> all) : all_(all) {}

  bool more() const { return next_ < all_.size(); }
  std::string take() { return all_[next_++]; }

  /// The value of "--name VALUE" or "--name=VALUE"; none where `argument`, which was just taken, is
  /// another one.
  std::optional<std::string> value(const std::string& argument, std::string_view name);

 private:
  std::span<const char* const> all_;
  std::size_t next_ = 0;
};

enum class Format { text, json };
/// Throws WrongUsage for another name.
Format formatNamed(const std::string& name);

}  // namespace wevora::command_line
