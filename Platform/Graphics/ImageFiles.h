#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/Graphics/Image.h"

namespace wevora::platform {

/// The representations in an .icns or .tiff file; the format is detected by its first bytes. The
/// file is treated as hostile input: only regular files of up to 16 MiB are read, and bitmaps are
/// limited by Bitmap::kLongestSide.
/// Errors: empty if the file cannot be read, is malformed or has another format.
// +imageRepsWithContentsOfFile:
std::vector<ImageRep> imageRepsWithContentsOfFile(const std::string& path) noexcept;

/// An image with the file's representations and the size of the largest; null if there are no
/// representations.
ImageRef imageWithContentsOfFile(const std::string& path);

}  // namespace wevora::platform
