#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace wevora::command_line {

/// A usage error, with the reason in one line.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The parsed arguments of one call. Values and operands are bytes, not checked for UTF-8.
class Arguments {
 public:
  /// What --help, the command "help" and --version ask for instead of running the command.
  enum class Information { nothing, help, version };

  Information information = Information::nothing;
  std::string_view command;  ///< as the program's table spells it
  std::vector<std::string> operands;

  void addOption(std::string_view name, std::string value) {
    options_[name].push_back(std::move(value));
  }
  bool has(std::string_view option) const { return options_.contains(option); }
  /// All values of an option that may be repeated.
  std::vector<std::string> values(std::string_view option) const;
  /// The last value; nullopt when the option is not given.
  std::optional<std::string> value(std::string_view option) const;

 private:
  std::map<std::string_view, std::vector<std::string>> options_;
};

enum class Format { text, json };
/// Throws UsageError for another name.
Format formatNamed(const std::string& name);

/// Throws UsageError for an ID that is empty or contains '/': it becomes part of a file name.
/// `argument` is the option or command that it was given to.
void requireAccountId(const std::string& id, std::string_view argument = "--account");

}  // namespace wevora::command_line
