#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/Graphics/Image.h"

namespace wevora::platform {

/// The representations in a file of the kinds .icns and .tiff, told by its first bytes. A file is
/// hostile input: only regular files of at most 16 MiB are read, no bitmap is larger than Bitmap
/// allows, and what cannot be read whole gives no representations.
/// Threads: any. Errors: none; whatever is wrong with the file, the list is empty.
// +imageRepsWithContentsOfFile:
std::vector<ImageRep> imageRepsWithContentsOfFile(const std::string& path) noexcept;

/// An image of the file's representations, as large as the largest of them; null when there is
/// none.
ImageRef imageWithContentsOfFile(const std::string& path);

}  // namespace wevora::platform
