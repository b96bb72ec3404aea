#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Base/Date.h"
#include "Platform/Files/ByteProgress.h"

namespace wevora {

namespace platform {
class FileOperations;
class Shell;
struct TrashPlaces;
}  // namespace platform

/// The file rules that the agent and the bundle share: ignore rules, path comparison, listings and
/// file operations. Paths are absolute; an empty path or name names nothing.
/// Thread-safety: safe from any thread.
/// Errors: reported by the return value that each function documents.
class WVRFileTools {
 public:
  /// Builds the ignore lists. Called once at the start of the bundle.
  // +load
  static void load();

  // --- Ignore rules ------------------------------------------------------------------------------

  /// Whether a name is that of an account's database or of a file that accompanies it, or has an
  /// ignored extension. Case-insensitive.
  // +quickCheckIfFileShouldBeIgnoredByName:
  static bool quickCheckIfFileShouldBeIgnoredByName(std::string_view name);

  /// Whether an item is invisible: its name begins with a dot, or its folder's ".hidden" file lists
  /// it. False for a missing item. `isDirectory` has no effect.
  // +quickCheckIfExistingFileShouldBeFilteredAtPath:isDirectory:
  static bool quickCheckIfExistingFileShouldBeFilteredAtPath(std::string_view path,
                                                             bool isDirectory);
  // +quickCheckIfExistingFileShouldBeFilteredAtURL:isDirectory:
  static bool quickCheckIfExistingFileShouldBeFilteredAtURL(std::string_view url, bool isDirectory);

  /// Folders are ignored when they are invisible, missing items by their name, all other items by
  /// both rules.
  // +fileShouldBeIgnoredIfExistsAtPath:
  static bool fileShouldBeIgnoredIfExistsAtPath(const std::string& path);
  /// The same, but the visibility is that of the item at the URL.
  // +fileShouldBeIgnoredIfExistsAtPath:withURL:
  static bool fileShouldBeIgnoredIfExistsAtPath(const std::string& path, std::string_view withURL);

  /// Whether the item, or a folder between it and the included folder, is ignored. The name rule
  /// applies to the item even if it is a folder; the folders above it are ignored only when they
  /// are invisible; the included folder and the folders above it are not checked. The item counts
  /// as inside the included folder when its path is longer: only the lengths are compared.
  // +fileShouldBeIgnored:inExplicitIncudedFolderWithFSPath:
  static bool fileShouldBeIgnored(const std::string& path,
                                  std::string_view inExplicitIncudedFolderWithFSPath);

  /// Whether an item is, at any depth, in the Trash of its own volume.
  // +fileIsInsideTrashAtFSPath:
  static bool fileIsInsideTrashAtFSPath(const std::string& path);
  /// The same with injected Trash locations.
  static bool fileIsInsideTrashAtFSPath(const std::string& path,
                                        const platform::TrashPlaces& places);

  /// The first folder that contains the path, even if a later one is a deeper match.
  // +getContainerOfFileWithPath:amongPossibleContainers:
  static std::optional<std::string> getContainerOfFileWithPath(
      std::string_view path, std::span<const std::string> amongPossibleContainers);

  // --- Comparison and attributes -----------------------------------------------------------------

  /// Whether the file URLs of two paths are equal: a comparison of the texts that ignores one
  /// trailing separator of an existing folder.
  // +path:isEqualToPath:
  static bool pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath);
  /// The same, optionally after resolving the symbolic links in both paths.
  // +path:isEqualToPath:resolveSymlinks:
  static bool pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath,
                                bool resolveSymlinks);

  /// Whether a path is the folder or is below it. Compares only the standardized texts.
  // +filePath:belongsToDirectoryAtPath:
  static bool filePathBelongsToDirectoryAtPath(std::string_view filePath,
                                               std::string_view belongsToDirectoryAtPath);

  /// The size in bytes; a link is not followed. 0 on failure.
  // +fileSize:
  static std::uint64_t fileSize(const std::string& path);
  /// A link is not followed. nullopt on failure.
  // +fileLastModificationDate:
  static std::optional<platform::Date> fileLastModificationDate(const std::string& path);

  /// Returned instead of a digest on failure.
  static constexpr const char* kMD5Error = "ERROR GETTING FILE MD5";
  /// 32 lower-case hexadecimal digits, or kMD5Error when the file cannot be opened, is not a
  /// regular file, or cannot be read completely. Reads 16 KiB at a time.
  // +getMD5FromFile:
  static std::string getMD5FromFile(const std::string& path);
  /// The same; `progress` receives the bytes that were read.
  static std::string getMD5FromFile(const std::string& path,
                                    const platform::ByteProgress& progress);

  /// A new random UUID, 36 characters.
  // +getUUID
  static std::string getUUID();

  /// The environment variable HOME, or null. Valid until the environment changes.
  // +homeDirectoryCString
  static const char* homeDirectoryCString();

  // +shortFileNameForAbsolutePath:
  static std::string shortFileNameForAbsolutePath(std::string_view path);

  /// The path of a file URL, without the trailing separator of a folder's URL; nullopt for any
  /// other URL.
  // +fileURLToString:
  static std::optional<std::string> fileURLToString(std::string_view url);

  // --- Listing -----------------------------------------------------------------------------------

  /// The paths of a folder's direct children, including hidden ones, in directory order; empty when
  /// the folder cannot be read. Links in the folder's path are resolved.
  /// byMask: only names that match; "*" is any run, "?" one character, case-sensitive; nullopt
  ///   matches all names.
  /// skipDirectories, skipFiles: omit folders or regular files.
  /// resolveSymlinks: treat a link as its target, following at most 100 links.
  /// skipSymlinks: omit links, and chains that still end in a link.
  /// useResolvedPaths: return the path of the target instead of that of the link.
  // +getContentsOfDirectory:byMask:skipDirectories:skipFiles:resolveSymlinks:skipSymlinks:
  //  useResolvedPaths:
  static std::vector<std::string> getContentsOfDirectory(const std::string& directory,
                                                         std::optional<std::string_view> byMask,
                                                         bool skipDirectories, bool skipFiles,
                                                         bool resolveSymlinks, bool skipSymlinks,
                                                         bool useResolvedPaths);
  // Defaults of the shorter forms: every name and kind, links are followed, dangling links are
  // omitted, and the items' own paths are returned. +getContentsOfDirectory:
  static std::vector<std::string> getContentsOfDirectory(const std::string& directory);
  // +getContentsOfDirectory:byMask:
  static std::vector<std::string> getContentsOfDirectory(const std::string& directory,
                                                         std::optional<std::string_view> byMask);
  // +getContentsOfDirectory:byMask:skipDirectories:
  static std::vector<std::string> getContentsOfDirectory(const std::string& directory,
                                                         std::optional<std::string_view> byMask,
                                                         bool skipDirectories);
  // +getContentsOfDirectory:byMask:skipDirectories:skipFiles:
  static std::vector<std::string> getContentsOfDirectory(const std::string& directory,
                                                         std::optional<std::string_view> byMask,
                                                         bool skipDirectories, bool skipFiles);
  // +getContentsOfDirectory:byMask:skipDirectories:skipFiles:resolveSymlinks:
  static std::vector<std::string> getContentsOfDirectory(const std::string& directory,
                                                         std::optional<std::string_view> byMask,
                                                         bool skipDirectories, bool skipFiles,
                                                         bool resolveSymlinks);
  // +getContentsOfDirectory:byMask:skipDirectories:skipFiles:resolveSymlinks:skipSymlinks:
  static std::vector<std::string> getContentsOfDirectory(const std::string& directory,
                                                         std::optional<std::string_view> byMask,
                                                         bool skipDirectories, bool skipFiles,
                                                         bool resolveSymlinks, bool skipSymlinks);

  /// The paths of a folder's direct children that are visible and not ignored: either the folders,
  /// or all other items, which include links to folders. Empty without a URL or for an unreadable
  /// folder. `checkPermissions` has no effect.
  // +scanURLIgnoringExtras:saveFolders:checkPermissions:
  static std::vector<std::string> scanURLIgnoringExtras(std::optional<std::string_view> url,
                                                        bool saveFolders, bool checkPermissions);
  /// Returns only folders, despite the name.
  // +scanURLIgnoringExtras:
  static std::vector<std::string> scanURLIgnoringExtras(std::optional<std::string_view> url);
  // +scanURLIgnoringExtras:checkPermissions:
  static std::vector<std::string> scanURLIgnoringExtras(std::optional<std::string_view> url,
                                                        bool checkPermissions);
  /// Returns all items except folders.
  // +scanURLIgnoringExtrasAndDirs:
  static std::vector<std::string> scanURLIgnoringExtrasAndDirs(std::optional<std::string_view> url);
  // +scanURLIgnoringExtrasAndDirs:checkPermissions:
  static std::vector<std::string> scanURLIgnoringExtrasAndDirs(std::optional<std::string_view> url,
                                                               bool checkPermissions);

  // --- Operations --------------------------------------------------------------------------------

  /// Creates a folder with exactly these permission bits; false when it exists or its parent is
  /// missing.
  // +makeDirectoryWithPath:mode:
  static bool makeDirectoryWithPath(const std::string& path, std::uint64_t mode);
  /// With intermediate folders, missing parents get the same bits, and an existing folder stays
  /// unchanged and counts as success.
  // +makeDirectoryWithPath:withIntermediateDirectories:mode:
  static bool makeDirectoryWithPath(const std::string& path, bool withIntermediateDirectories,
                                    std::uint64_t mode);

  /// Follows symbolic links.
  // +changeModeOfFileAtPath:mode:
  static bool changeModeOfFileAtPath(const std::string& path, std::uint64_t mode);

  /// Makes an item invisible by running the command "chflags" in /bin/sh, and waits for it.
  /// SECURITY: the path is placed between single quotes without escaping. A path that contains a
  /// single quote ends the quotes, and the shell runs the rest as a command (shell injection).
  /// Never pass an untrusted name.
  // +hideFileAtPath:
  static void hideFileAtPath(const std::string& path);
  /// The same with an injected shell.
  static void hideFileAtPath(const std::string& path, const platform::Shell& shell);

  /// Copies a file, link or folder to a path that does not exist and compares the copy with its
  /// source; true when they are equal. A failed copy leaves nothing behind, a copy that differs
  /// stays.
  // +backupFileWithPath:toPath:
  static bool backupFileWithPath(const std::string& path, const std::string& toPath);
  /// Retries up to `attempts` times. After the last failure the destination is removed, ALSO one
  /// that existed before. Nothing is removed when source and destination are the same item or one
  /// contains the other, when something is mounted in the destination, or when the source cannot be
  /// examined.
  // +backupFileWithPath:toPath:attempts:
  static bool backupFileWithPath(const std::string& path, const std::string& toPath,
                                 std::uint64_t attempts);
  /// The same two with injected operations.
  static bool backupFileWithPath(const std::string& path, const std::string& toPath,
                                 platform::FileOperations& operations);
  static bool backupFileWithPath(const std::string& path, const std::string& toPath,
                                 std::uint64_t attempts, platform::FileOperations& operations);

 private:
  /// The rest of the combined rule, for an item that is visible or missing.
  static bool visibleItemShouldBeIgnored(const std::string& path, bool isDirectory);
};

}  // namespace wevora
