#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace wevora {

// Operations on the settings file. Each ignores its errors, so that the next step still runs.
// Thread-safety: any thread.

/// Added to the path of the settings file: the copy of one that could not be read.
inline constexpr const char* kUnreadableSuffix = ".unreadable";

/// Creates the folder and its missing parents, each with mode 0755 and, where known, the owner.
/// Existing folders stay unchanged.
void createSettingsFolder(const std::string& folder, std::optional<uid_t> owner);

/// Sets mode 0644 and, where known, the owner. A symbolic link is not followed.
void setSettingsFileAttributes(const std::string& path, std::optional<uid_t> owner);

/// Copies a file to a path where nothing exists.
void copySettingsFile(const std::string& from, const std::string& to);

/// Writes the text from the first byte of an existing file, without truncating it: of a longer old
/// text, the end remains behind the new one.
void writeOverSettingsFile(const std::string& path, const std::string& text);

/// Copies a file that has content, but is not a dictionary, to the path with kUnreadableSuffix:
/// with its owner, and with its mode as far as 0644 allows. An existing copy stays, since the
/// oldest one has the user's settings. Symbolic links are not followed, and files above 16 MiB not
/// copied.
void keepUnreadableSettingsFile(const std::string& path);

}  // namespace wevora
