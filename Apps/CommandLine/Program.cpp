#include "Apps/CommandLine/Program.h"

#include <algorithm>
#include <iostream>
#include <sstream>

#include "Apps/CommandLine/PathArgument.h"
#include "Platform/Base/Version.h"

namespace wevora::command_line {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kHelpColumn = 20;
constexpr std::string_view kHelpCommand = "help";

using Words = std::vector<std::string>;

std::string inQuotes(std::string_view text) {
  return "'" + std::string(text) + "'";
}

const auto* named(const auto& rows, std::string_view name) {
  const auto found = std::ranges::find_if(rows, [&](const auto& row) { return row.name == name; });
  return found == rows.end() ? nullptr : &*found;
}

// Parsing.

std::string expectedCommand(const Program& program) {
  const auto& commands = program.commands;
  std::string text = "expected ";
  for (std::size_t i = 0; i < commands.size(); ++i) {
    if (i > 0) text += i + 1 == commands.size() ? " or " : ", ";
    text += inQuotes(commands[i].name);
  }
  return text;
}

class Parser {
 public:
  Parser(const Program& program, std::span<const char* const> words)
      : program_(program), words_(words) {
    if (program.commands.front().name.empty()) command_ = &program.commands.front();
  }

  Arguments run() {
    while (next_ < words_.size() && parsed_.information == Arguments::Information::nothing)
      take(words_[next_++]);
    if (parsed_.information == Arguments::Information::nothing) check();
    return std::move(parsed_);
  }

 private:
  void take(const std::string& word) {
    const bool isOperand = onlyOperands_ || (command_ != nullptr && command_->verbatim);
    if (!isOperand && takeOther(word)) return;
    if (command_ == nullptr)
      throw UsageError(expectedCommand(program_) + ", not " + inQuotes(word));
    parsed_.operands.push_back(word);
  }

  /// False for an operand.
  bool takeOther(const std::string& word) {
    if (command_ == nullptr && takeCommand(word)) return true;
    if (word == "--help" || word == "-h")
      parsed_.information = Arguments::Information::help;
    else if (word == "--version")
      parsed_.information = Arguments::Information::version;
    else if (command_ != nullptr && word == "--")
      onlyOperands_ = true;
    else if (word.starts_with('-') && word != "-")
      takeOption(word);
    else
      return false;
    return true;
  }

  bool takeCommand(const std::string& word) {
    const auto* command = named(program_.commands, word);
    if (command == nullptr) return false;
    command_ = command;
    parsed_.command = command->name;
    if (command->name == kHelpCommand) parsed_.information = Arguments::Information::help;
    return true;
  }

  void takeOption(const std::string& word) {
    const auto equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const Option* option = named(program_.options, name);
    if (option == nullptr && command_ != nullptr) option = named(command_->options, name);
    if (option == nullptr) throw UsageError(unknownOption(name));
    if (option->value.empty()) {
      if (equals != std::string::npos) throw UsageError(name + " takes no value");
      parsed_.addOption(option->name, "");
    } else if (equals != std::string::npos) {
      parsed_.addOption(option->name, word.substr(equals + 1));
    } else if (next_ < words_.size()) {
      parsed_.addOption(option->name, words_[next_++]);
    } else {
      throw UsageError(name + " needs a value: " + std::string(option->value));
    }
  }

  std::string unknownOption(const std::string& name) const {
    std::string text = "unknown option " + inQuotes(name);
    if (command_ == nullptr) return text + " before the command; " + expectedCommand(program_);
    return command_->name.empty() ? text : text + " of " + inQuotes(command_->name);
  }

  void check() const {
    if (command_ == nullptr) throw UsageError(expectedCommand(program_));
    for (const auto& option : command_->options)
      if (option.use == Option::Use::required && !parsed_.has(option.name))
        throw UsageError(std::string(option.name) + " " + std::string(option.value) +
                         " is required");
    const auto& expected = command_->operands;
    if (parsed_.operands.size() < expected.least)
      throw UsageError("expected " + std::string(expected.placeholder) +
                       (command_->name.empty() ? "" : " after " + inQuotes(command_->name)));
    if (parsed_.operands.size() > expected.most)
      throw UsageError("unexpected argument " + inQuotes(parsed_.operands[expected.most]));
  }

  const Program& program_;
  const std::span<const char* const> words_;
  std::size_t next_ = 0;
  const Command* command_ = nullptr;
  bool onlyOperands_ = false;
  Arguments parsed_;
};

// The text of --help.

Words wordsOf(std::string_view text) {
  std::istringstream stream{std::string(text)};
  Words words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

std::string termOf(const Option& option) {
  return std::string(option.name) + (option.value.empty() ? "" : " " + std::string(option.value));
}

/// "[--account ID] [--watch] PATH..."; an option is not broken over lines.
Words synopsisOf(const std::vector<Option>& options, const Operands& operands) {
  Words words;
  for (const auto& option : options) {
    const bool required = option.use == Option::Use::required;
    words.push_back((required ? "" : "[") + termOf(option) + (required ? "" : "]") +
                    (option.use == Option::Use::repeatable ? "..." : ""));
  }
  std::ranges::copy(wordsOf(operands.placeholder), std::back_inserter(words));
  return words;
}

/// A term, and its explanation from a column on, wrapped at the width of a terminal.
std::string entry(std::string line, const Words& words, std::size_t column) {
  std::string text;
  if (!words.empty() && line.size() >= column && column > 0) {
    text = line + "\n";
    line.clear();
  }
  if (!words.empty()) line.resize(column, ' ');
  bool isFirst = true;
  for (const auto& word : words) {
    if (!isFirst && line.size() + 1 + word.size() > kWidth) {
      text += line + "\n";
      line.assign(column, ' ');
      isFirst = true;
    }
    line += (isFirst ? "" : " ") + word;
    isFirst = false;
  }
  return text + line + "\n";
}

std::string optionEntries(const std::vector<Option>& options, const std::string& indent) {
  std::string text;
  for (const auto& option : options) {
    auto words = wordsOf(option.help);
    if (option.use == Option::Use::required) words.emplace_back("(required)");
    if (option.use == Option::Use::repeatable) words.emplace_back("(may be repeated)");
    text += entry(indent + termOf(option), words, kHelpColumn);
  }
  return text;
}

std::string commandEntries(const std::vector<Command>& commands) {
  std::string text;
  for (const auto& command : commands) {
    std::string term = "  " + std::string(command.name);
    if (!command.operands.placeholder.empty())
      term += " " + std::string(command.operands.placeholder);
    text +=
        entry(term, wordsOf(command.help), kHelpColumn) + optionEntries(command.options, "    ");
  }
  return text;
}

std::string usageLine(const Program& program) {
  const std::string start = "usage: " + std::string(program.name);
  const auto& commands = program.commands;
  if (commands.front().name.empty()) {
    auto options = program.options;
    std::ranges::copy(commands.front().options, std::back_inserter(options));
    return entry(start, synopsisOf(options, commands.front().operands), start.size() + 1);
  }
  std::string names;
  std::string rest(commands.front().operands.placeholder);
  for (const auto& command : commands) {
    names += (names.empty() ? "" : "|") + std::string(command.name);
    if (!program.options.empty() || !command.options.empty() ||
        command.operands.placeholder != rest)
      rest = "[ARGUMENT]...";
  }
  return entry(start, wordsOf(names + " " + rest), start.size() + 1);
}

}  // namespace

Arguments parse(const Program& program, std::span<const char* const> arguments) {
  return Parser(program, arguments).run();
}

std::string helpText(const Program& program) {
  const auto& commands = program.commands;
  std::string text = usageLine(program) + "\n" + entry("", wordsOf(program.summary), 0) + "\n";
  text += commands.front().name.empty() ? optionEntries(commands.front().options, "  ")
                                        : commandEntries(commands) + "\n";
  text += optionEntries(program.options, "  ") + "  --help, --version\n";
  for (const auto& section : program.sections) {
    text += "\n" + std::string(section.title) + ":\n";
    for (const auto& [term, help] : section.terms)
      text += entry("  " + std::string(term), wordsOf(help), kHelpColumn);
  }
  return text;
}

int runProgram(const Program& program, int count, const char* const* arguments,
               const std::function<int(const Arguments&)>& run, int failureStatus) {
  const auto report = [&](const std::string& text) {
    std::cerr << program.name << ": " << oneLine(text) << "\n";
  };
  try {
    const std::span all(arguments, static_cast<std::size_t>(count));
    const auto parsed = parse(program, all.subspan(count > 0 ? 1 : 0));
    if (parsed.information == Arguments::Information::nothing) return run(parsed);
    if (parsed.information == Arguments::Information::help)
      std::cout << helpText(program);
    else
      std::cout << program.name << " " << platform::productVersion() << "\n";
    return 0;
  } catch (const UsageError& error) {
    report(std::string(error.what()) + " (try --help)");
    return kUsageErrorStatus;
  } catch (const std::exception& error) {
    report(error.what());
    return failureStatus;
  }
}

}  // namespace wevora::command_line
