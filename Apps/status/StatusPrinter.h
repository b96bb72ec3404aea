#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "Apps/status/StatusOptions.h"

namespace wevora::status {

/// A text as a JSON string. A byte that is not UTF-8 becomes the lone surrogate U+DC00 plus the
/// byte, as Python's "surrogateescape" writes it, so that no path is lost.
std::string jsonString(std::string_view text);

/// Prints one line for an item.
/// Threads: one. Owns: nothing. Errors: those of the stream.
class StatusPrinter {
 public:
  StatusPrinter(std::ostream& out, StatusOptions::Format format, bool colours)
      : out_(out), format_(format), colours_(colours) {}
  void print(const std::string& word, const std::string& path,
             const std::optional<std::string>& database);

 private:
  std::ostream& out_;
  StatusOptions::Format format_;
  bool colours_;
};

}  // namespace wevora::status
