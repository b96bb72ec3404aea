#pragma once

#include <string>
#include <vector>

#include "Apps/status/FolderWalk.h"
#include "Apps/status/StatusAsker.h"
#include "Apps/status/StatusOptions.h"
#include "Apps/status/StatusPrinter.h"
#include "Platform/System/SystemServices.h"

namespace wevora::status {

/// Counts items on standard error while a person waits.
/// Threads: one. Owns: the line that it shows. Errors: none.
class Progress {
 public:
  explicit Progress(bool wanted);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  void add(std::size_t items);

 private:
  bool wanted_;
  bool shown_ = false;
  std::size_t count_ = 0;
};

/// Prints the words of what a person asked for, and follows them where that is wanted.
/// Threads: the main thread, whose main loop it runs. Owns: what it printed, to follow it.
/// Errors: none; what cannot be read has the word "unreadable".
class StatusRun {
 public:
  StatusRun(const StatusOptions& options, platform::SystemServices& services);

  /// Prints everything; answers whether every path was readable.
  bool printAll();
  /// Prints what changes, until the process is interrupted.
  void watch();

 private:
  /// The path to ask for, and as the person wrote it.
  struct Item {
    std::string path;
    std::string shown;
  };
  void print(const std::vector<Item>& items);
  void print(const Item& item, const std::string& word);
  void walk(std::vector<Item> folders);

  const StatusOptions& options_;
  platform::SystemServices& services_;
  StatusAsker asker_;
  StatusPrinter printer_;
  Progress progress_;
  FolderWalk walk_;
  bool allReadable_ = true;
  std::vector<Item> printed_;
  std::vector<std::string> words_;  // of what was printed
};

}  // namespace wevora::status
