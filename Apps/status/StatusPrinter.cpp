#include "Apps/status/StatusPrinter.h"

#include "Apps/CommandLine/Json.h"

namespace wevora::status {
using command_line::jsonString;

namespace {

std::string_view colourOf(const std::string& word) {
  if (word == "green") return "\033[32m";
  if (word == "blue") return "\033[34m";
  if (word == "red") return "\033[31m";
  return "\033[2m";
}

}  // namespace

void StatusPrinter::print(const std::string& word, const std::string& path,
                          const std::optional<std::string>& database) {
  if (format_ == command_line::Format::json) {
    out_ << "{\"path\":" << jsonString(path) << ",\"status\":" << jsonString(word)
         << ",\"database\":" << (database ? jsonString(*database) : "null") << "}\n";
  } else if (colours_) {
    out_ << colourOf(word) << word << "\033[0m\t" << path << '\n';
  } else {
    out_ << word << '\t' << path << '\n';
  }
}

}  // namespace wevora::status
