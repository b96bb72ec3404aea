#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "FinderIntegration/finder_bundle/WVString/WVStringWithCreationDate.h"

namespace wevora {

/// The status words of one folder's items, by item name. To keep thousands of items small, the
/// names are stored in one string and indexed by a hash table of 32-bit positions.
/// Thread-safety: concurrent reads are safe once the object is no longer modified.
class FolderStatuses {
 public:
  /// Null for an unknown name. Valid until the next modification.
  const WVStringWithCreationDate* find(std::string_view name) const;
  void set(std::string_view name, WVStringWithCreationDate status);
  void remove(std::string_view name);
  void reserve(std::size_t items);
  /// Releases reserved memory that is not used.
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
  std::vector<std::uint32_t> slots_;  // size is a power of two, load at most 3/4
};

}  // namespace wevora
