#include "Apps/agent_sim/OwnFiles.h"

namespace wevora::agent_sim {

bool isOwnFile(std::string_view name) {
  return name == ".wevora" ||
         (name.starts_with("Wevora-Account-") && name.find(".db") != std::string_view::npos);
}

}  // namespace wevora::agent_sim
