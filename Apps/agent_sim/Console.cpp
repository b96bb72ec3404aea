#include "Apps/agent_sim/Console.h"

#include <iostream>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::agent_sim {

void complain(std::string_view text) {
  std::cerr << "wevora-agent-sim: " << oneLine(text) << "\n";
}

void say(std::string_view text) {
  std::cout << oneLine(text) << std::endl;
}

std::string mounted(const std::string& volume) {
  if (!platform::SystemVolumes().fileSystemTypeOf(volume))
    throw Failure("'" + volume + "' is not the mount point of a volume");
  if (!platform::isDirectory(platform::statOfTarget(volume)))
    throw Failure("'" + volume + "' is not a folder");
  return volume;
}

}  // namespace wevora::agent_sim
