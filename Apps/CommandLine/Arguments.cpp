#include "Apps/CommandLine/Arguments.h"

namespace wevora::command_line {

std::optional<std::string> Arguments::value(const std::string& argument, std::string_view name) {
  if (argument == name) {
    if (!more()) throw WrongUsage(std::string(name) + " needs a value");
    return take();
  }
  if (argument.starts_with(std::string(name) + "=")) return argument.substr(name.size() + 1);
  return std::nullopt;
}

Format formatNamed(const std::string& name) {
  if (name == "text") return Format::text;
  if (name == "json") return Format::json;
  throw WrongUsage("--format is text or json, not '" + name + "'");
}

}  // namespace wevora::command_line
