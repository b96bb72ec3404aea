#include "Apps/files/FilesCommands.h"

#include "Apps/CommandLine/Json.h"
#include "Apps/CommandLine/PathArgument.h"
#include "Apps/CommandLine/TransferProgress.h"
#include "Apps/files/Interruption.h"
#include "Apps/files/ReportingFileOperations.h"
#include "Apps/files/TreeSize.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/Listing.h"

namespace wevora::files {
namespace {

using command_line::jsonString;
using command_line::oneLine;
using command_line::pathArgument;
using command_line::TransferProgress;

bool isReadableFolder(const std::string& path) {
  return platform::forEachEntry(path, [](std::string_view, platform::ItemKind) {});
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

void FilesCommands::complain(const std::string& path, const std::string& why) {
  console_.out.flush();
  console_.errors << "wevora-files: " << oneLine(path) << ": " << why << "\n";
}

void FilesCommands::answer(const std::string& shown, const char* key, bool yes, const char* yesWord,
                           const char* noWord) {
  if (isJson())
    console_.out << "{\"path\":" << jsonString(shown) << ",\"" << key
                 << "\":" << (yes ? "true" : "false") << "}\n";
  else
    console_.out << (yes ? yesWord : noWord) << '\t' << shown << '\n';
}

template <class Ask>
int FilesCommands::forEachPath(Ask ask) {
  int status = kYes;
  for (const auto& path : options_.paths)
    if (!ask(path)) status = kNo;
  return status;
}

bool FilesCommands::ignored(const std::string& shown) {
  const bool yes = WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(pathArgument(shown));
  answer(shown, "ignored", yes, "ignored", "kept");
  return yes;
}

bool FilesCommands::inTrash(const std::string& shown) {
  const bool yes = WVRFileTools::fileIsInsideTrashAtFSPath(pathArgument(shown), trash_);
  answer(shown, "trash", yes, "trash", "outside");
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
  if (!done) complain(shown, "cannot be read");
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
  // The file tools put the path between single quotes as it is; the rest of it would be run.
  if (path.find('\'') != std::string::npos) {
    complain(shown, "a path with a single quote cannot be hidden");
  } else {
    WVRFileTools::hideFileAtPath(path, shell_);
    done = WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtPath(path, false);
    if (!done) complain(shown, "was not hidden");
  }
  if (isJson() || done) answer(shown, "hidden", done, "hidden", "");
  return done;
}

int FilesCommands::list() {
  const std::string folder = pathArgument(options_.paths.front());
  return printed(WVRFileTools::getContentsOfDirectory(
                     folder, options_.mask, options_.skipDirectories, options_.skipFiles,
                     options_.resolveSymlinks, options_.skipSymlinks, options_.useResolvedPaths),
                 folder);
}

int FilesCommands::scan() {
  const std::string folder = pathArgument(options_.paths.front());
  return printed(WVRFileTools::scanURLIgnoringExtras(
                     "file://" + platform::percentEncodedPath(folder), options_.saveFolders, true),
                 folder);
}

int FilesCommands::printed(const std::vector<std::string>& paths, const std::string& folder) {
  for (const auto& path : paths) {
    if (isJson())
      console_.out << "{\"path\":" << jsonString(path) << "}\n";
    else
      console_.out << path << (options_.endWithNul ? '\0' : '\n');
  }
  if (!paths.empty() || isReadableFolder(folder)) return kYes;
  complain(options_.paths.front(), "cannot be read");
  return kNo;
}

bool FilesCommands::isBackedUp(const std::string& from, const std::string& to,
                               std::string& reason) {
  const Interruption interruption;
  // Every byte twice: copied, and compared.
  const std::uint64_t total = console_.progress ? 2 * bytesOfFiles(from) : 0;
  TransferProgress progress(console_.errors, console_.progress, "copied and compared", total);
  StoppableFileCalls calls;
  platform::SystemFileOperations system(calls, [&](std::uint64_t bytes) { progress.add(bytes); });
  ReportingFileOperations operations(system);
  try {
    const bool done = options_.attempts ? WVRFileTools::backupFileWithPath(
                                              from, to, *options_.attempts, operations)
                                        : WVRFileTools::backupFileWithPath(from, to, operations);
    reason = operations.reason().empty() ? "it was not tried" : operations.reason();
    return done;
  } catch (const Interrupted&) {
    // Nobody knows whether it is equal; that nothing was there before, its copy has shown.
    if (operations.hasCopied()) system.removeItem(to);
    throw;
  }
}

int FilesCommands::backup() {
  const auto& source = options_.paths.front();
  const auto& destination = options_.paths.back();
  std::string reason;
  const bool done = isBackedUp(pathArgument(source), pathArgument(destination), reason);
  if (!done) complain(source, "is not backed up to '" + oneLine(destination) + "': " + reason);
  if (isJson())
    console_.out << "{\"source\":" << jsonString(source)
                 << ",\"destination\":" << jsonString(destination)
                 << ",\"done\":" << (done ? "true" : "false") << "}\n";
  return done ? kYes : kNo;
}

}  // namespace wevora::files
