#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wevora::platform {

// Paths and texts, in UTF-8. Bytes that are not UTF-8 pass through every function unharmed.
// Nothing here looks at a disk.

/// Hashes any kind of string, so that maps keyed by std::string are searched without a copy.
struct StringHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const noexcept {
    return std::hash<std::string_view>{}(text);
  }
};

/// "/Users/a" gives "/", "Users", "a"; a trailing separator gives no component; "" gives none.
std::vector<std::string> pathComponents(std::string_view path);

/// Walks the components of a path without copying them: the same sequence as pathComponents.
class PathComponents {
 public:
  explicit PathComponents(std::string_view path) : rest_(path) {}
  /// The next component, or nothing after the last.
  std::optional<std::string_view> next();

 private:
  std::string_view rest_;
  bool started_ = false;
};

/// Collapses separators, removes ".", resolves ".." by the text alone, drops a trailing separator.
std::string standardizedPath(std::string_view path);

/// "/a/b" gives "b", "/a/b/" gives "b", "/" gives "/", "" gives "".
std::string_view lastPathComponent(std::string_view path);

/// "/a/b" gives "/a", "/a" gives "/", "/" gives "/", "a" gives "".
std::string_view pathWithoutLastComponent(std::string_view path);

/// The path without the separators at its end; "/" stays.
std::string_view withoutTrailingSeparators(std::string_view path);

/// Joins with exactly one separator; a trailing one is dropped: ("/a/", "/b/c") gives "/a/b/c".
std::string pathByAppendingComponent(std::string_view path, std::string_view component);

/// Whether all of a text is valid UTF-8.
bool isUtf8(std::string_view text);

/// Length in UTF-16 units; a byte that is not UTF-8 counts as one unit.
std::size_t utf16Length(std::string_view text);

/// One character of a text: its bytes and the UTF-16 units that it counts for.
struct Character {
  std::size_t bytes;
  std::size_t units;
};
/// The first character of a text that is not empty; a byte that is not UTF-8 stands alone.
Character firstCharacter(std::string_view text);

/// Unicode lower case, independent of the locale.
std::string lowercased(std::string_view text);

/// Texts that differ in case only have the same fold; independent of the locale.
std::string caseFolded(std::string_view text);

/// A new random UUID in lower case, 8-4-4-4-12.
std::string randomUUID();

/// Percent-encodes what a file URL's path may not hold; "/" stays.
std::string percentEncodedPath(std::string_view path);

/// The path of a "file:" URL, percent-decoded; none for another scheme or a bad escape.
std::optional<std::string> pathFromFileUrl(std::string_view url);

}  // namespace wevora::platform
