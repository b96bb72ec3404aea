#pragma once

#include <string>
#include <string_view>

#include "Apps/CommandLine/Arguments.h"
#include "Apps/CommandLine/PathArgument.h"

namespace wevora::agent_sim {

using command_line::oneLine;
using command_line::pathArgument;
using command_line::WrongUsage;

/// One line on the standard output, at once.
void say(std::string_view text);
/// One line on the standard error.
void complain(std::string_view text);

/// The same mount point, of a volume that is there; throws Failure otherwise.
std::string mounted(const std::string& volume);

}  // namespace wevora::agent_sim
