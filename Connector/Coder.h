#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/PropertyLists/Value.h"

namespace wevora {

/// An archive of objects without keys, read in the order in which they were written.
/// Errors: reading past the end returns nullopt.
class Coder {
 public:
  Coder() = default;
  explicit Coder(platform::Value object) { encodeObject(std::move(object)); }

  // -encodeObject:
  void encodeObject(platform::Value object) { objects_.push_back(std::move(object)); }
  // -decodeObject
  std::optional<platform::Value> decodeObject() {
    return next_ < objects_.size() ? std::optional(objects_[next_++]) : std::nullopt;
  }

  const std::vector<platform::Value>& objects() const noexcept { return objects_; }

 private:
  std::vector<platform::Value> objects_;
  std::size_t next_ = 0;
};

/// How an object is sent to another process: as a copy of its value, or as a proxy.
struct PortCoder {
  // -isBycopy
  bool isBycopy = false;
};

}  // namespace wevora
