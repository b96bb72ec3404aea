#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wevora::platform {

// Functions for paths and strings in UTF-8. They keep bytes that are not valid UTF-8 unchanged and
// never access the file system.

/// Transparent hash: look-ups in maps keyed by std::string need no temporary string.
struct StringHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const noexcept {
    return std::hash<std::string_view>{}(text);
  }
};

/// "/Users/a" gives "/", "Users", "a"; a trailing separator adds no component; "" has no
/// components.
std::vector<std::string> pathComponents(std::string_view path);

/// Iterates over the components of a path without copying them, in the order of pathComponents.
class PathComponents {
 public:
  explicit PathComponents(std::string_view path) : rest_(path) {}
  /// The next component; nullopt after the last one.
  std::optional<std::string_view> next();

 private:
  std::string_view rest_;
  bool started_ = false;
};

/// Collapses separators, removes ".", resolves ".." lexically, drops a trailing separator.
std::string standardizedPath(std::string_view path);

/// "/a/b" gives "b", "/a/b/" gives "b", "/" gives "/", "" gives "".
std::string_view lastPathComponent(std::string_view path);

/// "/a/b" gives "/a", "/a" gives "/", "/" gives "/", "a" gives "".
std::string_view pathWithoutLastComponent(std::string_view path);

/// The path without the separators at its end; "/" stays.
std::string_view withoutTrailingSeparators(std::string_view path);

/// Joins with exactly one separator; a trailing one is dropped: ("/a/", "/b/c") gives "/a/b/c".
std::string pathByAppendingComponent(std::string_view path, std::string_view component);

bool isUtf8(std::string_view text);

/// Length in UTF-16 units; a byte that is not UTF-8 counts as one unit.
std::size_t utf16Length(std::string_view text);

/// The length of one character, in bytes and in UTF-16 units.
struct Character {
  std::size_t bytes;
  std::size_t units;
};
/// The first character of a non-empty text; an invalid byte counts as one character.
Character firstCharacter(std::string_view text);

/// Unicode lower case, independent of the locale.
std::string lowercased(std::string_view text);

/// Texts that differ only in case have the same case-folded form. Independent of the locale.
std::string caseFolded(std::string_view text);

/// A new random UUID in lower case, 8-4-4-4-12.
std::string randomUUID();

/// Percent-encodes the characters that the path of a file URL may not contain; keeps "/".
std::string percentEncodedPath(std::string_view path);

/// The percent-decoded path of a "file:" URL; nullopt for another scheme, a remote host or a bad
/// escape.
std::optional<std::string> pathFromFileUrl(std::string_view url);

}  // namespace wevora::platform
