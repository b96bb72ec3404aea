#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "Apps/files/FilesOptions.h"
#include "Platform/Files/Shell.h"
#include "Platform/Files/Trash.h"

namespace wevora::files {

/// What the commands read and write beside the file system.
struct FilesConsole {
  std::ostream& out;
  std::ostream& errors;
  bool progress = false;  ///< whether `errors` is a terminal that shows one
};

/// Runs one command.
/// Threads: one. Owns: nothing. Errors: told on the console; throws for what keeps all from
/// running, and Interrupted.
class FilesCommands {
 public:
  FilesCommands(const FilesOptions& options, const FilesConsole& console,
                platform::TrashPlaces trash = platform::TrashPlaces::ofThisUser(),
                platform::Shell shell = platform::Shell())
      : options_(options), console_(console), trash_(std::move(trash)), shell_(std::move(shell)) {}

  static constexpr int kYes = 0;
  static constexpr int kNo = 1;

  /// The program's exit status.
  int run();

 private:
  bool isJson() const { return options_.format == FilesOptions::Format::json; }
  void complain(const std::string& path, const std::string& why);
  /// One line that says yes or no.
  void answer(const std::string& shown, const char* key, bool yes, const char* yesWord,
              const char* noWord);

  template <class Ask>
  int forEachPath(Ask ask);
  bool ignored(const std::string& shown);
  bool inTrash(const std::string& shown);
  bool digest(const std::string& shown);
  bool hide(const std::string& shown);
  int list();
  int scan();
  int printed(const std::vector<std::string>& paths, const std::string& folder);
  int backup();
  /// Throws Interrupted, when the copy is cleared away.
  bool isBackedUp(const std::string& from, const std::string& to, std::string& reason);

  const FilesOptions& options_;
  const FilesConsole console_;
  const platform::TrashPlaces trash_;
  const platform::Shell shell_;
};

}  // namespace wevora::files
