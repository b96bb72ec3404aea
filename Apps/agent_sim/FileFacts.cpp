#include "Apps/agent_sim/FileFacts.h"

#include <cerrno>
#include <sys/stat.h>

#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora::agent_sim {

std::optional<FileFacts> FileFacts::at(const std::string& path, std::error_code& failed) {
  struct stat facts {};
  failed.clear();
  if (::lstat(path.c_str(), &facts) != 0) {
    failed.assign(errno, std::generic_category());
    return std::nullopt;
  }
  const platform::Date date{static_cast<double>(facts.st_mtim.tv_sec) +
                            static_cast<double>(facts.st_mtim.tv_nsec) / 1e9};
  return FileFacts{S_ISDIR(facts.st_mode), facts.st_dev, facts.st_size, date,
                   dbFormat(date).value_or("")};
}

bool isOwnFile(std::string_view name) {
  return name == ".wevora" ||
         (name.starts_with("Wevora-Account-") && name.find(".db") != std::string_view::npos);
}

}  // namespace wevora::agent_sim
