#include "Apps/agent_sim/Console.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <unistd.h>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Platform/Files/Files.h"
#include "Platform/Strings/Strings.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::agent_sim {

std::string absolute(const std::string& path) {
  if (path.empty()) throw WrongUsage("a path is empty");
  if (path.starts_with("/")) return platform::standardizedPath(path);
  const std::unique_ptr<char, decltype(&std::free)> here(::getcwd(nullptr, 0), &std::free);
  if (!here) throw Failure("the current folder is gone; give absolute paths");
  return platform::standardizedPath(std::string(here.get()) + "/" + path);
}

std::string oneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    if (c >= ' ' || c < 0) {
      line += c;
      continue;
    }
    std::array<char, 5> escape{};
    std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned>(c));
    line += escape.data();
  }
  return line;
}

void complain(std::string_view text) {
  std::cerr << "wevora-agent-sim: " << oneLine(text) << "\n";
}

void say(std::string_view text) {
  std::cout << oneLine(text) << std::endl;
}

std::string mounted(const std::string& volume) {
  if (!platform::SystemVolumes().fileSystemTypeOf(volume))
    throw Failure(volume + " is not the mount point of a volume");
  if (!platform::fileExistsAtPath(volume).isDirectory) throw Failure(volume + " is no folder");
  return volume;
}

}  // namespace wevora::agent_sim
