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

/// What the agent and the bundle must answer and do alike: which files concern the service, what a
/// path means, what a folder holds, and small operations on files. Paths are absolute; an empty
/// path or name counts as none. Threads: any. Owns: nothing. Errors: none; each function names its
/// answer for what fails.
class WVRFileTools {
 public:
  /// The step of the bundle's start: builds the lists of what is ignored.
  // +load
  static void load();

  // --- What is ignored ---------------------------------------------------------------------------

  /// Whether a name is that of an account's database or a file beside it, or has an extension that
  /// is ignored; letters count without regard to case.
  // +quickCheckIfFileShouldBeIgnoredByName:
  static bool quickCheckIfFileShouldBeIgnoredByName(std::string_view name);

  /// Whether an item is invisible: its name begins with a dot, or its folder's ".hidden" file lists
  /// it. False for what does not exist. The flag plays no part.
  // +quickCheckIfExistingFileShouldBeFilteredAtPath:isDirectory:
  static bool quickCheckIfExistingFileShouldBeFilteredAtPath(std::string_view path,
                                                             bool isDirectory);
  // +quickCheckIfExistingFileShouldBeFilteredAtURL:isDirectory:
  static bool quickCheckIfExistingFileShouldBeFilteredAtURL(std::string_view url, bool isDirectory);

  /// Folders are judged by invisibility alone, what does not exist by its name alone, all else by
  /// both.
  // +fileShouldBeIgnoredIfExistsAtPath:
  static bool fileShouldBeIgnoredIfExistsAtPath(const std::string& path);
  /// The same, with the invisibility of the item at the URL.
  // +fileShouldBeIgnoredIfExistsAtPath:withURL:
  static bool fileShouldBeIgnoredIfExistsAtPath(const std::string& path, std::string_view withURL);

  /// Whether the item, or a folder between it and the included one, is to be ignored. The item
  /// counts by name even if it is a folder, the folders above it by invisibility alone; the
  /// included folder and what is above it never count. The file is taken to lie in the folder when
  /// its path is the longer one: nothing else is looked at.
  // +fileShouldBeIgnored:inExplicitIncudedFolderWithFSPath:
  static bool fileShouldBeIgnored(const std::string& path,
                                  std::string_view inExplicitIncudedFolderWithFSPath);

  /// Whether an item lies, at any depth, in the Trash of its own volume.
  // +fileIsInsideTrashAtFSPath:
  static bool fileIsInsideTrashAtFSPath(const std::string& path);
  /// The same with the Trash folders of another user.
  static bool fileIsInsideTrashAtFSPath(const std::string& path,
                                        const platform::TrashPlaces& places);

  /// The first of the folders that holds the path, even if a later one holds it more closely.
  // +getContainerOfFileWithPath:amongPossibleContainers:
  static std::optional<std::string> getContainerOfFileWithPath(
      std::string_view path, std::span<const std::string> amongPossibleContainers);

  // --- Comparison and facts ----------------------------------------------------------------------

  /// Whether the file URLs of two paths are equal: the same text, but that a separator behind an
  /// existing folder does not matter.
  // +path:isEqualToPath:
  static bool pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath);
  /// The same, after symbolic links in both paths are resolved if asked for.
  // +path:isEqualToPath:resolveSymlinks:
  static bool pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath,
                                bool resolveSymlinks);

  /// Whether a file is the folder or lies below it, by the text alone.
  // +filePath:belongsToDirectoryAtPath:
  static bool filePathBelongsToDirectoryAtPath(std::string_view filePath,
                                               std::string_view belongsToDirectoryAtPath);

  /// Bytes of the item itself, a link not followed; 0 when they cannot be learned.
  // +fileSize:
  static std::uint64_t fileSize(const std::string& path);
  /// Of the item itself, a link not followed; none when it cannot be learned.
  // +fileLastModificationDate:
  static std::optional<platform::Date> fileLastModificationDate(const std::string& path);

  /// What stands in the place of a digest.
  static constexpr const char* kMD5Error = "ERROR GETTING FILE MD5";
  /// 32 lower-case hexadecimal digits, or kMD5Error when the file cannot be opened, is no regular
  /// file, or cannot be read to its end. Reads 16 KiB at a time.
  // +getMD5FromFile:
  static std::string getMD5FromFile(const std::string& path);
  /// The same; the progress is told the bytes that were read.
  static std::string getMD5FromFile(const std::string& path,
                                    const platform::ByteProgress& progress);

  /// A new random UUID, 36 characters.
  // +getUUID
  static std::string getUUID();

  /// The environment's "HOME", or null. Valid until the environment is changed.
  // +homeDirectoryCString
  static const char* homeDirectoryCString();

  // +shortFileNameForAbsolutePath:
  static std::string shortFileNameForAbsolutePath(std::string_view path);

  /// The path of a file URL, without the separator that a folder's URL ends with; none for any
  /// other URL.
  // +fileURLToString:
  static std::optional<std::string> fileURLToString(std::string_view url);

  // --- Listing -----------------------------------------------------------------------------------

  /// The paths of a folder's direct children, hidden ones too, in the folder's own order; none when
  /// it cannot be read. Links in the folder's path are resolved.
  /// byMask: only names that it covers; "*" any run, "?" one character, case matters; none: all.
  /// skipDirectories, skipFiles: leave folders or regular files out.
  /// resolveSymlinks: judge a link by what it leads to, after at most 100 steps.
  /// skipSymlinks: leave out what is a link, or is still one after that.
  /// useResolvedPaths: give the path that was reached in the place of the link's own.
  // +getContentsOfDirectory:byMask:skipDirectories:skipFiles:resolveSymlinks:skipSymlinks:
  //  useResolvedPaths:
  static std::vector<std::string> getContentsOfDirectory(const std::string& directory,
                                                         std::optional<std::string_view> byMask,
                                                         bool skipDirectories, bool skipFiles,
                                                         bool resolveSymlinks, bool skipSymlinks,
                                                         bool useResolvedPaths);
  // The shorter forms take every name and kind, follow links, drop links that lead nowhere, and
  // give the items' own paths. +getContentsOfDirectory:
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

  /// The paths of a folder's direct children that are visible and not ignored: only the folders, or
  /// only what is no folder, a link to one included. None without a URL or for a folder that cannot
  /// be read. `checkPermissions` has no effect.
  // +scanURLIgnoringExtras:saveFolders:checkPermissions:
  static std::vector<std::string> scanURLIgnoringExtras(std::optional<std::string_view> url,
                                                        bool saveFolders, bool checkPermissions);
  /// Only the folders, whatever the name says.
  // +scanURLIgnoringExtras:
  static std::vector<std::string> scanURLIgnoringExtras(std::optional<std::string_view> url);
  // +scanURLIgnoringExtras:checkPermissions:
  static std::vector<std::string> scanURLIgnoringExtras(std::optional<std::string_view> url,
                                                        bool checkPermissions);
  /// Only what is no folder.
  // +scanURLIgnoringExtrasAndDirs:
  static std::vector<std::string> scanURLIgnoringExtrasAndDirs(std::optional<std::string_view> url);
  // +scanURLIgnoringExtrasAndDirs:checkPermissions:
  static std::vector<std::string> scanURLIgnoringExtrasAndDirs(std::optional<std::string_view> url,
                                                               bool checkPermissions);

  // --- Operations --------------------------------------------------------------------------------

  /// Makes a folder with exactly these permission bits; false when it exists or its parent does
  /// not.
  // +makeDirectoryWithPath:mode:
  static bool makeDirectoryWithPath(const std::string& path, std::uint64_t mode);
  /// With intermediate folders: missing parents get the same bits, and a folder that exists already
  /// counts as made and is left as it is.
  // +makeDirectoryWithPath:withIntermediateDirectories:mode:
  static bool makeDirectoryWithPath(const std::string& path, bool withIntermediateDirectories,
                                    std::uint64_t mode);

  /// Follows symbolic links.
  // +changeModeOfFileAtPath:mode:
  static bool changeModeOfFileAtPath(const std::string& path, std::uint64_t mode);

  /// Makes an item invisible, with the command "chflags" and the system's shell, and waits for it.
  /// The path is put between single quotes as it is, it is NOT quoted or escaped: one that holds a
  /// single quote ends the quotes, and the rest of it is run as a command. Never give this a name
  /// that came from somebody else.
  // +hideFileAtPath:
  static void hideFileAtPath(const std::string& path);
  /// The same with another shell.
  static void hideFileAtPath(const std::string& path, const platform::Shell& shell);

  /// Copies a file, link or folder to where nothing is, and compares the copy with its source: true
  /// when they are equal. A copy that cannot be completed leaves nothing, one that is not equal
  /// stays.
  // +backupFileWithPath:toPath:
  static bool backupFileWithPath(const std::string& path, const std::string& toPath);
  /// Tries so many times. After the last failure the destination is removed, ALSO one that was
  /// there before; but never the source, where both are one item or one holds the other, nor
  /// anything when a volume or folder is mounted in the destination, or the source cannot be
  /// looked at.
  // +backupFileWithPath:toPath:attempts:
  static bool backupFileWithPath(const std::string& path, const std::string& toPath,
                                 std::uint64_t attempts);
  /// The same two with other operations.
  static bool backupFileWithPath(const std::string& path, const std::string& toPath,
                                 platform::FileOperations& operations);
  static bool backupFileWithPath(const std::string& path, const std::string& toPath,
                                 std::uint64_t attempts, platform::FileOperations& operations);

 private:
  /// What is left of the combined rule for an item that is visible, or does not exist.
  static bool visibleItemShouldBeIgnored(const std::string& path, bool isDirectory);
};

}  // namespace wevora
