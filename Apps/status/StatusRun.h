#pragma once

#include <string>
#include <vector>

#include "Apps/status/FolderWalk.h"
#include "Apps/status/StatusAsker.h"
#include "Apps/status/StatusOptions.h"
#include "Apps/status/StatusPrinter.h"
#include "Platform/System/SystemServices.h"

namespace wevora::status {

/// Shows the number of items in one line on standard error, if that is a terminal.
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

/// Prints the words of the given paths; with --watch, also their changes.
/// Thread-safety: main thread only; it runs the main loop.
/// Errors: an unreadable item has the word "unreadable".
class StatusRun {
 public:
  StatusRun(const StatusOptions& options, platform::SystemServices& services);

  /// Prints all items; returns whether every one was readable.
  bool printAll();
  /// Prints changed words, until the process is interrupted.
  void watch();

 private:
  /// An absolute path, and the path as given.
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
  std::vector<std::string> words_;  // of the printed items
};

}  // namespace wevora::status
