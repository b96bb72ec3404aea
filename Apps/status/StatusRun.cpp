#include "Apps/status/StatusRun.h"

#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>
#include <iterator>
#include <optional>
#include <unistd.h>
#include <utility>

#include <glib-unix.h>
#include <glib.h>

#include "Apps/status/StatusWatch.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/WorkingFolder.h"

namespace wevora::status {
namespace {

constexpr std::size_t kLeastShown = 1000;

void runMainLoopUntil(const std::function<bool()>& condition) {
  while (!condition()) g_main_context_iteration(nullptr, TRUE);
}

gboolean interrupted(gpointer done) noexcept {
  *static_cast<bool*>(done) = true;
  return G_SOURCE_CONTINUE;
}

std::vector<std::string> pathsOf(const auto& items) {
  std::vector<std::string> paths;
  paths.reserve(items.size());
  for (const auto& item : items) paths.push_back(item.path);
  return paths;
}

}  // namespace

Progress::Progress(bool wanted) : wanted_(wanted && ::isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
  if (shown_) std::fputs("\r\033[K", stderr);
}

void Progress::add(std::size_t items) {
  count_ += items;
  if (!wanted_ || count_ < kLeastShown) return;
  std::fprintf(stderr, "\r%zu items", count_);
  shown_ = true;
}

StatusRun::StatusRun(const StatusOptions& options, platform::SystemServices& services)
    : options_(options),
      services_(services),
      asker_(WVIconProvider::defaultProvider(), services.dispatch, services.clock,
             runMainLoopUntil),
      printer_(std::cout, options.format, ::isatty(STDOUT_FILENO) != 0),
      // When standard output is a terminal, its lines show the progress.
      progress_(options.recursive && ::isatty(STDOUT_FILENO) == 0) {}

bool StatusRun::printAll() {
  std::vector<Item> items;
  for (const auto& path : options_.paths)
    items.push_back({platform::absolutePath(path).value_or("/"), path});
  print(items);
  if (options_.recursive) walk(std::move(items));
  return allReadable_;
}

void StatusRun::print(const std::vector<Item>& items) {
  const auto words = asker_.ask(pathsOf(items));
  for (std::size_t i = 0; i < items.size(); ++i) {
    print(items[i], words[i]);
    allReadable_ = allReadable_ && words[i] != "unreadable";
  }
  progress_.add(items.size());
  if (!options_.watch) return;
  printed_.insert(printed_.end(), items.begin(), items.end());
  words_.insert(words_.end(), words.begin(), words.end());
}

void StatusRun::print(const Item& item, const std::string& word) {
  const bool json = options_.format == StatusOptions::Format::json;
  printer_.print(word, item.shown, json ? asker_.databaseOf(item.path) : std::nullopt);
}

void StatusRun::walk(std::vector<Item> folders) {
  while (!folders.empty()) {
    const Item folder = std::move(folders.back());
    folders.pop_back();
    std::vector<Item> items;
    for (const auto& name : walk_.list(folder.path))
      items.push_back({platform::pathByAppendingComponent(folder.path, name),
                       platform::pathByAppendingComponent(folder.shown, name)});
    if (items.empty()) continue;
    print(items);
    folders.insert(folders.end(), std::make_move_iterator(items.rbegin()),
                   std::make_move_iterator(items.rend()));
  }
}

void StatusRun::watch() {
  std::cout.flush();
  const StatusWatch watch(WVIconProvider::defaultProvider(), services_.runtime,
                          services_.dispatch.mainQueue(), pathsOf(printed_), words_,
                          [this](std::size_t item, const std::string& word) {
                            print(printed_[item], word);
                            std::cout.flush();
                          });
  bool done = false;
  g_unix_signal_add(SIGINT, &interrupted, &done);
  g_unix_signal_add(SIGTERM, &interrupted, &done);
  runMainLoopUntil([&done] { return done; });
}

}  // namespace wevora::status
