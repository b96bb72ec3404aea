#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "Apps/status/StatusOptions.h"

namespace wevora::status {

/// Prints one line for an item.
class StatusPrinter {
 public:
  StatusPrinter(std::ostream& out, command_line::Format format, bool colours)
      : out_(out), format_(format), colours_(colours) {}
  void print(const std::string& word, const std::string& path,
             const std::optional<std::string>& database);

 private:
  std::ostream& out_;
  command_line::Format format_;
  bool colours_;
};

}  // namespace wevora::status
