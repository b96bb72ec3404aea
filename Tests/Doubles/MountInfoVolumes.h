#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Volumes/Volumes.h"

namespace wevora::platform {

/// Parses text in the format of /proc/self/mountinfo; malformed lines are skipped.
std::vector<Volume> volumesFromMountInfo(std::string_view text);

/// A mount table in the mountinfo format; the text is requested for every query.
class MountInfoVolumes : public Volumes {
 public:
  explicit MountInfoVolumes(std::function<std::string()> text) : text_(std::move(text)) {}
  std::vector<Volume> mountedVolumes() const override { return volumesFromMountInfo(text_()); }

 private:
  std::function<std::string()> text_;
};

}  // namespace wevora::platform
