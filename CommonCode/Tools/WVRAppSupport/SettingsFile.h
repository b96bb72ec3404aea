#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace wevora {

// What is done to the settings file on disk. Threads: any.
// Every failure ends the step in silence: the next one is tried all the same.

/// Makes the folder and those above it that are missing: each with mode 0755 and, where it is
/// known, the owner. What is there stays as it is.
void createSettingsFolder(const std::string& folder, std::optional<uid_t> owner);

/// Gives the file mode 0644 and, where it is known, the owner. A link is not followed.
void setSettingsFileAttributes(const std::string& path, std::optional<uid_t> owner);

/// Copies a file to a place where there is none.
void copySettingsFile(const std::string& from, const std::string& to);

/// Writes the text from the first byte of a file that is there. The file is not truncated: of a
/// longer old text, the end stays behind the new one.
void writeOverSettingsFile(const std::string& path, const std::string& text);

}  // namespace wevora
