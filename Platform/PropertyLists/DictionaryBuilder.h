#pragma once

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

/// Collects the entries of a dictionary in constant time each. A key that occurs again keeps its
/// first position and gets its last value.
class DictionaryBuilder {
 public:
  void set(std::string key, Value value) {
    const auto [position, isNew] = positions_.try_emplace(key, entries_.size());
    if (isNew)
      entries_.emplace_back(std::move(key), std::move(value));
    else
      entries_[position->second].second = std::move(value);
  }

  Dictionary build() && {
    Dictionary result;
    for (auto& [key, value] : entries_) result.append(std::move(key), std::move(value));
    return result;
  }

 private:
  std::vector<Dictionary::Entry> entries_;
  std::unordered_map<std::string, std::size_t> positions_;
};

}  // namespace wevora::platform
