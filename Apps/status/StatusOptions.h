#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace wevora::status {

/// A wrong call, with the reason in one line.
class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a person asked for.
struct StatusOptions {
  enum class Format { text, json };
  std::optional<std::string> account;  ///< none: the running agent's
  Format format = Format::text;
  bool recursive = false;
  bool watch = false;
  bool help = false;
  bool version = false;
  std::vector<std::string> paths;

  /// Throws WrongUsage.
  static StatusOptions parse(std::span<const char* const> arguments);
};

extern const char* const kUsage;

}  // namespace wevora::status
