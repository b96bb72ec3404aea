#include "Apps/agent_sim/DirtyFolders.h"

#include <utility>

namespace wevora::agent_sim {

void DirtyFolders::addItem(const std::string& folder, const std::string& name) {
  const auto [place, isNew] =
      folders_.try_emplace(folder, DirtyFolder{folder, false, RowScan::Names()});
  if (isNew) order_.push_back(folder);
  auto& names = place->second.names;
  if (!names) return;
  names->insert(name);
  if (names->size() > kMaximalNames) names.reset();
}

void DirtyFolders::addDeep(const std::string& folder) {
  const auto [place, isNew] = folders_.insert_or_assign(folder, DirtyFolder{folder, true, {}});
  if (isNew) order_.push_back(folder);
}

void DirtyFolders::putBack(std::vector<DirtyFolder> folders) {
  while (!folders.empty()) {
    auto folder = std::move(folders.back());
    folders.pop_back();
    const auto [place, isNew] = folders_.try_emplace(folder.path, folder);
    if (isNew) {
      order_.push_front(folder.path);
      continue;
    }
    auto& known = place->second;
    known.deep = known.deep || folder.deep;
    if (known.names && folder.names)
      known.names->merge(*folder.names);
    else
      known.names.reset();
  }
}

std::vector<DirtyFolder> DirtyFolders::take(std::size_t count) {
  std::vector<DirtyFolder> taken;
  while (taken.size() < count && !order_.empty()) {
    const auto place = folders_.find(order_.front());
    order_.pop_front();
    taken.push_back(std::move(place->second));
    folders_.erase(place);
  }
  return taken;
}

void DirtyFolders::clear() {
  folders_.clear();
  order_.clear();
}

}  // namespace wevora::agent_sim
