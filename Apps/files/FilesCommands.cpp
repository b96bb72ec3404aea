#include "Apps/files/FilesCommands.h"

#include "Apps/CommandLine/Json.h"
#include "Apps/CommandLine/PathArgument.h"
#include "Apps/CommandLine/TransferProgress.h"
#include "Apps/files/Interruption.h"
#include "Apps/files/ReportingFileOperations.h"
#include "Apps/files/TreeSize.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Errno.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Files/Listing.h"

namespace wevora::files {
namespace {

using command_line::jsonString;
using command_line::oneLine;
using command_line::pathArgument;
using command_line::TransferProgress;

std::string quoted(const std::string& path) {
  return "'" + oneLine(path) + "'";
}

/// Why a folder cannot be listed; empty when it can.
std::string reasonNotListed(const std::string& path) {
  if (platform::forEachEntry(path, [](std::string_view, platform::ItemKind) {})) return {};
  return platform::lastError().message();
}

/// Why a file has no digest.
std::string reasonNotRead(const std::string& path) {
  const auto status = platform::statOfTarget(path);
  if (!status) return platform::lastError().message();
  if (!platform::isRegularFile(*status)) return "not a regular file";
  if (!platform::isReadableFileAtPath(path)) return platform::lastError().message();
  return "read error";
}

}  // namespace

int FilesCommands::run() {
  using Command = FilesOptions::Command;
  switch (options_.command) {
    case Command::ignored:
      return forEachPath([this](const std::string& path) { return ignored(path); });
    case Command::trash:
      return forEachPath([this](const std::string& path) { return inTrash(path); });
    case Command::md5:
      return forEachPath([this](const std::string& path) { return digest(path); });
    case Command::hide:
      return forEachPath([this](const std::string& path) { return hide(path); });
    case Command::list:
      return list();
    case Command::scan:
      return scan();
    case Command::backup:
      return backup();
  }
  return kNo;
}

void FilesCommands::printError(const std::string& action, const std::string& reason) {
  console_.out.flush();
  console_.errors << "wevora-files: cannot " << action << ": " << reason << "\n";
}

void FilesCommands::printResult(const std::string& shown, const char* key, bool yes,
                                const char* yesWord, const char* noWord) {
  if (isJson())
    console_.out << "{\"path\":" << jsonString(shown) << ",\"" << key
                 << "\":" << (yes ? "true" : "false") << "}\n";
  else
    console_.out << (yes ? yesWord : noWord) << '\t' << shown << '\n';
}

template <class Query>
int FilesCommands::forEachPath(Query query) {
  int status = kYes;
  for (const auto& path : options_.paths)
    if (!query(path)) status = kNo;
  return status;
}

bool FilesCommands::ignored(const std::string& shown) {
  const bool yes = WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(pathArgument(shown));
  printResult(shown, "ignored", yes, "ignored", "kept");
  return yes;
}

bool FilesCommands::inTrash(const std::string& shown) {
  const bool yes = WVRFileTools::fileIsInsideTrashAtFSPath(pathArgument(shown), trash_);
  printResult(shown, "trash", yes, "trash", "outside");
  return yes;
}

bool FilesCommands::digest(const std::string& shown) {
  const std::string path = pathArgument(shown);
  std::string text;
  {
    TransferProgress progress(console_.errors, console_.progress, "digest",
                              WVRFileTools::fileSize(path));
    text = WVRFileTools::getMD5FromFile(path, [&](std::uint64_t bytes) { progress.add(bytes); });
  }
  const bool done = text != WVRFileTools::kMD5Error;
  if (!done) printError("read " + quoted(shown), reasonNotRead(path));
  if (isJson())
    console_.out << "{\"path\":" << jsonString(shown)
                 << ",\"md5\":" << (done ? jsonString(text) : "null") << "}\n";
  else if (done)
    console_.out << text << "  " << shown << '\n';
  return done;
}

bool FilesCommands::hide(const std::string& shown) {
  const std::string path = pathArgument(shown);
  bool done = false;
  // hideFileAtPath does not escape the path: a single quote would allow shell injection.
  if (path.find('\'') != std::string::npos) {
    printError("hide " + quoted(shown),
               "a path with a single quote is not supported (rename the item)");
  } else {
    WVRFileTools::hideFileAtPath(path, shell_);
    done = WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtPath(path, false);
    if (!done) printError("hide " + quoted(shown), "it is still visible after running chflags");
  }
  if (isJson() || done) printResult(shown, "hidden", done, "hidden", "");
  return done;
}

int FilesCommands::list() {
  const std::string folder = pathArgument(options_.paths.front());
  return printPaths(WVRFileTools::getContentsOfDirectory(
                        folder, options_.mask, options_.skipDirectories, options_.skipFiles,
                        options_.resolveSymlinks, options_.skipSymlinks, options_.useResolvedPaths),
                    folder);
}

int FilesCommands::scan() {
  const std::string folder = pathArgument(options_.paths.front());
  return printPaths(
      WVRFileTools::scanURLIgnoringExtras("file://" + platform::percentEncodedPath(folder),
                                          options_.saveFolders, true),
      folder);
}

int FilesCommands::printPaths(const std::vector<std::string>& paths, const std::string& folder) {
  for (const auto& path : paths) {
    if (isJson())
      console_.out << "{\"path\":" << jsonString(path) << "}\n";
    else
      console_.out << path << (options_.endWithNul ? '\0' : '\n');
  }
  if (!paths.empty()) return kYes;
  const std::string reason = reasonNotListed(folder);
  if (reason.empty()) return kYes;
  printError("list " + quoted(options_.paths.front()), reason);
  return kNo;
}

bool FilesCommands::tryBackup(const std::string& from, const std::string& to, std::string& reason) {
  const Interruption interruption;
  // Each byte is counted twice: copied, and compared.
  const std::uint64_t total = console_.progress ? 2 * bytesOfFiles(from) : 0;
  TransferProgress progress(console_.errors, console_.progress, "copied and compared", total);
  CancellableFileCalls calls;
  platform::SystemFileOperations system(calls, [&](std::uint64_t bytes) { progress.add(bytes); });
  ReportingFileOperations operations(system);
  try {
    const bool done = options_.attempts ? WVRFileTools::backupFileWithPath(
                                              from, to, *options_.attempts, operations)
                                        : WVRFileTools::backupFileWithPath(from, to, operations);
    reason =
        operations.reason().empty() ? "no attempt was made (--attempts is 0)" : operations.reason();
    return done;
  } catch (const Interrupted&) {
    // The copy was not verified. hasCopied() implies that the destination did not exist before.
    if (operations.hasCopied()) system.removeItem(to);
    throw;
  }
}

int FilesCommands::backup() {
  const auto& source = options_.paths.front();
  const auto& destination = options_.paths.back();
  std::string reason;
  const bool done = tryBackup(pathArgument(source), pathArgument(destination), reason);
  if (!done) printError("back up " + quoted(source) + " to " + quoted(destination), reason);
  if (isJson())
    console_.out << "{\"source\":" << jsonString(source)
                 << ",\"destination\":" << jsonString(destination)
                 << ",\"done\":" << (done ? "true" : "false") << "}\n";
  return done ? kYes : kNo;
}

}  // namespace wevora::files
