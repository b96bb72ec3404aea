#include "FinderIntegration/finder_bundle/FolderStatuses.h"

#include <algorithm>
#include <bit>
#include <functional>

namespace wevora {
namespace {

std::size_t slotsFor(std::size_t items) {
  constexpr std::size_t kMinimum = 8;
  return std::max(kMinimum, std::bit_ceil(items + items / 3 + 1));
}

}  // namespace

std::size_t FolderStatuses::slotOf(std::string_view name) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = std::hash<std::string_view>{}(name)&mask;
  while (slots_[slot] != kEmpty && nameOf(entries_[slots_[slot]]) != name) slot = (slot + 1) & mask;
  return slot;
}

const WVStringWithCreationDate* FolderStatuses::find(std::string_view name) const {
  if (slots_.empty()) return nullptr;
  const auto entry = slots_[slotOf(name)];
  return entry == kEmpty ? nullptr : &entries_[entry].status;
}

void FolderStatuses::index(std::size_t slots) {
  slots_.assign(slots, kEmpty);
  for (std::size_t i = 0; i < entries_.size(); ++i)
    slots_[slotOf(nameOf(entries_[i]))] = static_cast<std::uint32_t>(i);
}

void FolderStatuses::reserve(std::size_t items) {
  if (slotsFor(items) > slots_.size()) index(slotsFor(items));
}

void FolderStatuses::shrinkToFit() {
  names_.shrink_to_fit();
}

void FolderStatuses::set(std::string_view name, WVStringWithCreationDate status) {
  if (slots_.size() < slotsFor(entries_.size() + 1)) index(slotsFor(entries_.size() + 1) * 2);
  const std::size_t slot = slotOf(name);
  if (slots_[slot] != kEmpty) {
    entries_[slots_[slot]].status = std::move(status);
    return;
  }
  slots_[slot] = static_cast<std::uint32_t>(entries_.size());
  entries_.push_back({static_cast<std::uint32_t>(names_.size()),
                      static_cast<std::uint32_t>(name.size()), std::move(status)});
  names_ += name;
}

void FolderStatuses::remove(std::string_view name) {
  if (find(name) == nullptr) return;
  // Rebuilt without the name: removal is rare, and only in folders that contain mount points.
  FolderStatuses kept;
  kept.reserve(entries_.size());
  for (auto& entry : entries_)
    if (nameOf(entry) != name) kept.set(nameOf(entry), std::move(entry.status));
  *this = std::move(kept);
}

}  // namespace wevora
