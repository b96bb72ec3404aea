#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Apps/CommandLine/Arguments.h"

// The command line of a program as tables: the parser and --help are made from them. The tables
// refer to string literals.
namespace wevora::command_line {

struct Option {
  enum class Use { optional, required, repeatable };

  std::string_view name;   ///< "--account"
  std::string_view value;  ///< placeholder of its value, "ID"; empty for an option without one
  std::string_view help;
  Use use = Use::optional;
};

/// The arguments that are not options.
struct Operands {
  static constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();

  std::string_view placeholder;  ///< "SRC DST"
  std::size_t least = 0;
  std::size_t most = least;
};

struct Command {
  std::string_view name;  ///< empty for the only command of a program without command names
  Operands operands = {};
  std::string_view help = {};
  std::vector<Option> options = {};
  bool verbatim = false;  ///< everything after the command is an operand, "--" and options too
};

/// A line of --help that explains a term.
struct Term {
  std::string_view term;
  std::string_view help;
};

struct Section {
  std::string_view title;
  std::vector<Term> terms;
};

struct Program {
  std::string_view name;
  std::string_view summary;
  std::vector<Command> commands;     ///< at least one
  std::vector<Option> options = {};  ///< of all commands; they may also precede the command
  std::vector<Section> sections = {};
};

/// Options come in any order, as "--name VALUE" or "--name=VALUE", and end at "--". --help, -h and
/// --version end the parsing at once. Throws UsageError.
Arguments parse(const Program& program, std::span<const char* const> arguments);

/// The output of --help.
std::string helpText(const Program& program);

constexpr int kUsageErrorStatus = 2;

/// The body of a main function: parses the arguments, prints --help or --version or calls `run`,
/// and returns the exit status. Reports an exception in one line on standard error; the status is
/// then 2 for a usage error and `failureStatus` for any other.
int runProgram(const Program& program, int count, const char* const* arguments,
               const std::function<int(const Arguments&)>& run, int failureStatus);

}  // namespace wevora::command_line
