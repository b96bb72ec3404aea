#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace wevora::agent_sim {

/// A call that the usage does not allow, in one line.
class WrongUsage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A path of the command line. Throws WrongUsage for an empty one, and Failure where there is no
/// current folder to which it could be relative.
std::string absolute(const std::string& path);

/// Paths may hold line ends, but what is told is one line.
std::string oneLine(std::string_view text);

/// One line on the standard output, at once.
void say(std::string_view text);
/// One line on the standard error.
void complain(std::string_view text);

/// The same mount point, of a volume that is there; throws Failure otherwise.
std::string mounted(const std::string& volume);

}  // namespace wevora::agent_sim
