#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "FinderIntegration/finder_bundle/WVString/WVStringWithCreationDate.h"

namespace wevora {

/// The status words of one folder's items, by item name. Thousands of items are held at a time, so
/// the names stand one behind the other in one text, and the index is a table of small numbers.
/// Threads: one while it is filled; any once nobody changes it.
/// Owns: names and words. Errors: none.
class FolderStatuses {
 public:
  /// Null for a name without a word. Valid until the next change.
  const WVStringWithCreationDate* find(std::string_view name) const;
  void set(std::string_view name, WVStringWithCreationDate status);
  void remove(std::string_view name);
  void reserve(std::size_t items);
  /// Gives back what was set aside for names that did not come.
  void shrinkToFit();
  std::size_t size() const noexcept { return entries_.size(); }

 private:
  struct Entry {
    std::uint32_t nameBegin;
    std::uint32_t nameLength;
    WVStringWithCreationDate status;
  };
  static constexpr std::uint32_t kEmpty = 0xFFFFFFFF;

  std::string_view nameOf(const Entry& entry) const {
    return std::string_view(names_).substr(entry.nameBegin, entry.nameLength);
  }
  std::size_t slotOf(std::string_view name) const;
  void index(std::size_t slots);

  std::string names_;
  std::deque<Entry> entries_;
  std::vector<std::uint32_t> slots_;  // a power of two, at most three quarters full
};

}  // namespace wevora
