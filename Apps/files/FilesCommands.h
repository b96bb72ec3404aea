#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "Apps/files/FilesOptions.h"
#include "Platform/Files/Shell.h"
#include "Platform/Files/Trash.h"

namespace wevora::files {

/// The output streams of the commands.
struct FilesConsole {
  std::ostream& out;
  std::ostream& errors;
  bool progress = false;  ///< whether to show a progress line, as when `errors` is a terminal
};

/// Runs one command of wevora-files.
/// Errors: prints a failure that concerns one path and continues; throws on any other failure, and
/// Interrupted after a signal.
class FilesCommands {
 public:
  FilesCommands(const FilesOptions& options, const FilesConsole& console,
                platform::TrashPlaces trash = platform::TrashPlaces::ofThisUser(),
                platform::Shell shell = platform::Shell())
      : options_(options), console_(console), trash_(std::move(trash)), shell_(std::move(shell)) {}

  static constexpr int kYes = 0;
  static constexpr int kNo = 1;

  /// Returns the exit status of the program.
  int run();

 private:
  bool isJson() const { return options_.format == FilesOptions::Format::json; }
  /// Prints "wevora-files: cannot <action>: <reason>".
  void printError(const std::string& action, const std::string& reason);
  /// Prints the result of a yes/no question about one path.
  void printResult(const std::string& shown, const char* key, bool yes, const char* yesWord,
                   const char* noWord);

  template <class Query>
  int forEachPath(Query query);
  bool ignored(const std::string& shown);
  bool inTrash(const std::string& shown);
  bool digest(const std::string& shown);
  bool hide(const std::string& shown);
  int list();
  int scan();
  int printPaths(const std::vector<std::string>& paths, const std::string& folder);
  int backup();
  /// Throws Interrupted after removing the copy.
  bool tryBackup(const std::string& from, const std::string& to, std::string& reason);

  const FilesOptions& options_;
  const FilesConsole console_;
  const platform::TrashPlaces trash_;
  const platform::Shell shell_;
};

}  // namespace wevora::files
