#include "Apps/CommandLine/Arguments.h"

namespace wevora::command_line {

std::vector<std::string> Arguments::values(std::string_view option) const {
  const auto found = options_.find(option);
  return found == options_.end() ? std::vector<std::string>() : found->second;
}

std::optional<std::string> Arguments::value(std::string_view option) const {
  const auto found = options_.find(option);
  return found == options_.end() ? std::nullopt : std::optional(found->second.back());
}

Format formatNamed(const std::string& name) {
  if (name == "text") return Format::text;
  if (name == "json") return Format::json;
  throw UsageError("--format: expected 'text' or 'json', not '" + name + "'");
}

void requireAccountId(const std::string& id, std::string_view argument) {
  if (id.empty()) throw UsageError(std::string(argument) + " needs a non-empty value");
  if (id.find('/') != std::string::npos)
    throw UsageError(std::string(argument) + ": expected an ID without '/', not '" + id + "'");
}

}  // namespace wevora::command_line
