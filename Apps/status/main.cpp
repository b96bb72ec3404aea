#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <unistd.h>

#include <glib.h>

#include "Apps/status/FolderWalk.h"
#include "Apps/status/StatusAsker.h"
#include "Apps/status/StatusOptions.h"
#include "Apps/status/StatusPrinter.h"
#include "Platform/System/SystemServices.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora::status {
namespace {

constexpr int kAnswered = 0;
constexpr int kUnreadable = 1;
constexpr int kWrongUsage = 2;

void runMainLoopUntil(const std::function<bool()>& condition) {
  while (!condition()) g_main_context_iteration(nullptr, TRUE);
}

/// An item: the path to ask for, and as the person wrote it.
struct Item {
  std::string path;
  std::string shown;
};

std::string absolute(const std::string& path) {
  if (path.starts_with("/")) return platform::standardizedPath(path);
  const std::unique_ptr<char, decltype(&std::free)> here(::getcwd(nullptr, 0), &std::free);
  return platform::standardizedPath(std::string(here ? here.get() : "/") + "/" + path);
}

/// Counts items on standard error while a person waits.
class Progress {
 public:
  explicit Progress(bool wanted) : wanted_(wanted && ::isatty(STDERR_FILENO) != 0) {}
  ~Progress() {
    if (shown_) std::fputs("\r\033[K", stderr);
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  void add(std::size_t items) {
    count_ += items;
    if (!wanted_ || count_ < kWorthShowing) return;
    std::fprintf(stderr, "\r%zu items", count_);
    shown_ = true;
  }

 private:
  static constexpr std::size_t kWorthShowing = 1000;
  bool wanted_;
  bool shown_ = false;
  std::size_t count_ = 0;
};

class Run {
 public:
  Run(const StatusOptions& options, platform::SystemServices& services)
      : options_(options),
        asker_(WVIconProvider::defaultProvider(), services.dispatch, services.clock,
               runMainLoopUntil),
        printer_(std::cout, options.format, ::isatty(STDOUT_FILENO) != 0),
        // On one terminal the lines themselves are the progress.
        progress_(options.recursive && ::isatty(STDOUT_FILENO) == 0) {}

  int run() {
    std::vector<Item> items;
    for (const auto& path : options_.paths) items.push_back({absolute(path), path});
    print(items);
    if (options_.recursive) walk(std::move(items));
    return unreadable_ ? kUnreadable : kAnswered;
  }

 private:
  void print(const std::vector<Item>& items) {
    std::vector<std::string> paths;
    paths.reserve(items.size());
    for (const auto& item : items) paths.push_back(item.path);
    const auto words = asker_.ask(paths);
    for (std::size_t i = 0; i < items.size(); ++i) {
      const bool json = options_.format == StatusOptions::Format::json;
      printer_.print(words[i], items[i].shown,
                     json ? asker_.databaseOf(items[i].path) : std::nullopt);
      unreadable_ = unreadable_ || words[i] == "unreadable";
    }
    progress_.add(items.size());
  }

  void walk(std::vector<Item> folders) {
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

  const StatusOptions& options_;
  StatusAsker asker_;
  StatusPrinter printer_;
  Progress progress_;
  FolderWalk walk_;
  bool unreadable_ = false;
};

int run(const StatusOptions& options) {
  if (options.help) {
    std::cout << kUsage;
    return kAnswered;
  }
  if (options.version) {
    std::cout << "wevora-status " WEVORA_VERSION "\n";
    return kAnswered;
  }
  loadNSDateDBFormat();
  auto& services = platform::SystemServices::shared();
  WVIconProvider::defaultProvider().pool()->setAccountId(options.account);
  return Run(options, services).run();
}

int runCatching(int count, const char* const* arguments) {
  try {
    const std::span all(arguments, static_cast<std::size_t>(count));
    return run(StatusOptions::parse(all.subspan(count > 0 ? 1 : 0)));
  } catch (const WrongUsage& wrong) {
    std::cerr << "wevora-status: " << wrong.what() << " (try --help)\n";
  } catch (const std::exception& failure) {
    std::cerr << "wevora-status: " << failure.what() << "\n";
  }
  return kWrongUsage;
}

}  // namespace
}  // namespace wevora::status

int main(int count, char** arguments) {
  const int status = wevora::status::runCatching(count, arguments);
  std::cout.flush();
  std::fflush(nullptr);
  // The shared instances' threads may still run; nothing is torn down under them.
  std::_Exit(status);
}
