#include "Connector/DaemonConnectionNames.h"

#include <string_view>

namespace wevora {
namespace {

constexpr std::uint32_t kMaximalSeed = 30;

void replace(std::string& text, std::string_view placeholder, const std::string& with) {
  text.replace(text.rfind(placeholder), placeholder.size(), with);
}

}  // namespace

std::optional<std::string> daemonConnectionNameAndSeed(const std::optional<std::string>& userName,
                                                       std::uint32_t seed) {
  if (!userName) return std::nullopt;
  std::string name = kIDaemonConnectionNameTemplate;
  replace(name, "%u", std::to_string(seed));  // first: the user name may contain a placeholder
  replace(name, "%@", *userName);
  return name;
}

std::uint32_t daemonConnectionNameMaximalSeed() {
  return kMaximalSeed;
}

std::vector<std::string> daemonConnectionNames(const std::optional<std::string>& userName) {
  std::vector<std::string> names;
  for (std::uint32_t seed = 0; userName && seed < kMaximalSeed; ++seed)
    names.push_back(*daemonConnectionNameAndSeed(userName, seed));
  return names;
}

const char* daemonConnectionStatusLabel(std::int32_t status) {
  switch (status) {
    case CONNECTION_STATUS_DID_NOT_LOGGEDIN:
      return "CONNECTION_STATUS_DID_NOT_LOGGEDIN";
    case CONNECTION_STATUS_LOGIN_IN_PROGRESS:
      return "CONNECTION_STATUS_LOGIN_IN_PROGRESS";
    case CONNECTION_STATUS_LOGGEDIN:
      return "CONNECTION_STATUS_LOGGEDIN";
    default:
      return "DEFAULT";
  }
}

}  // namespace wevora
