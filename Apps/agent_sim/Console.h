#pragma once

#include <string>
#include <string_view>

#include "Apps/CommandLine/Arguments.h"
#include "Apps/CommandLine/PathArgument.h"

namespace wevora::agent_sim {

using command_line::oneLine;
using command_line::pathArgument;
using command_line::UsageError;

/// Prints one line on standard output, and flushes it.
void say(std::string_view text);
/// Prints one line on standard error.
void complain(std::string_view text);

/// Returns the path when a volume is mounted there; throws Failure otherwise.
std::string mounted(const std::string& volume);

}  // namespace wevora::agent_sim
