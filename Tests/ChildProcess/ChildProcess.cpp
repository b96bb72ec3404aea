#include "Tests/ChildProcess/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include <glib.h>

#include "Platform/Base/Descriptor.h"
#include "Platform/Base/Mutex.h"

namespace wevora::testing_host {
namespace {

using platform::Condition;
using platform::Descriptor;
using platform::Mutex;
using platform::MutexLock;

constexpr int kCannotExecute = 127;

struct Pipe {
  Descriptor reading;
  Descriptor writing;

  static Pipe create() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
      throw std::system_error(errno, std::generic_category(), "pipe2");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
  }
};

std::vector<std::string> environmentWith(const Environment& changes) {
  std::map<std::string, std::string> all;
  for (char** entry = ::environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    const auto equals = text.find('=');
    all[text.substr(0, equals)] = equals == std::string::npos ? "" : text.substr(equals + 1);
  }
  for (const auto& [name, value] : changes)
    if (value)
      all[name] = *value;
    else
      all.erase(name);
  std::vector<std::string> entries;
  entries.reserve(all.size());
  for (const auto& [name, value] : all) entries.push_back(name + "=" + value);
  return entries;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Runs in the forked child: only async-signal-safe calls are allowed.
[[noreturn]] void execute(char* const* command, char* const* environment, int output, int errors) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  for (const int signal : {SIGHUP, SIGINT, SIGPIPE, SIGQUIT, SIGTERM}) std::signal(signal, SIG_DFL);
  const int input = ::open("/dev/null", O_RDONLY);
  ::dup2(input, STDIN_FILENO);
  ::dup2(output, STDOUT_FILENO);
  ::dup2(errors, STDERR_FILENO);
  ::execvpe(command[0], command, environment);
  ::_exit(kCannotExecute);
}

int shellStatus(int waited) {
  return WIFEXITED(waited) ? WEXITSTATUS(waited) : 128 + WTERMSIG(waited);
}

}  // namespace

struct ChildProcess::State {
  pid_t pid = -1;
  Descriptor process;
  std::array<Pipe, 2> pipes{Pipe::create(), Pipe::create()};
  std::thread reader;

  mutable Mutex mutex;
  Condition changed;
  std::array<std::string, 2> texts GUARDED_BY(mutex);
  std::optional<int> status GUARDED_BY(mutex);

  bool waitUntil(std::chrono::milliseconds timeout, const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    MutexLock lock(mutex);
    while (!condition()) {
      if (std::chrono::steady_clock::now() >= end) return false;
      changed.wait_until(lock, end);
    }
    return true;
  }

  std::string text(std::size_t which) const {
    const MutexLock lock(mutex);
    return texts[which];
  }

  bool waitForText(std::size_t which, std::string_view wanted, std::chrono::milliseconds timeout) {
    bool found = false;
    waitUntil(timeout, [&]() NO_THREAD_SAFETY_ANALYSIS {
      found = texts[which].find(wanted) != std::string::npos;
      return found || status.has_value();
    });
    return found;
  }

  void update(const std::function<void()>& change) {
    {
      const MutexLock lock(mutex);
      change();
    }
    changed.notify_all();
    g_main_context_wakeup(nullptr);
  }

  /// Returns false at end of file, or if no data is available.
  bool readSome(std::size_t which) {
    std::array<char, 65536> buffer{};
    const auto count = ::read(pipes[which].reading.get(), buffer.data(), buffer.size());
    if (count <= 0) return false;
    update([&]() NO_THREAD_SAFETY_ANALYSIS {
      texts[which].append(buffer.data(), static_cast<std::size_t>(count));
    });
    return true;
  }

  void readUntilExit() {
    for (auto& pipe : pipes) ::fcntl(pipe.reading.get(), F_SETFL, O_NONBLOCK);
    std::array<pollfd, 3> waited{pollfd{pipes[0].reading.get(), POLLIN, 0},
                                 pollfd{pipes[1].reading.get(), POLLIN, 0},
                                 pollfd{process.get(), POLLIN, 0}};
    while (waited[2].revents == 0) {
      if (::poll(waited.data(), waited.size(), -1) < 0 && errno != EINTR) break;
      for (std::size_t i = 0; i < pipes.size(); ++i)
        if (waited[i].revents != 0 && !readSome(i)) waited[i].fd = -1;
    }
    for (std::size_t i = 0; i < pipes.size(); ++i)
      while (readSome(i)) {
      }
    int ended = 0;
    ::waitpid(pid, &ended, 0);
    update([&]() NO_THREAD_SAFETY_ANALYSIS { status = shellStatus(ended); });
  }
};

ChildProcess::ChildProcess(const std::vector<std::string>& command, const Environment& changes)
    : state_(std::make_unique<State>()) {
  auto words = command;
  auto variables = environmentWith(changes);
  const auto arguments = pointersTo(words);
  const auto environment = pointersTo(variables);
  state_->pid = ::fork();
  if (state_->pid < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (state_->pid == 0)
    execute(arguments.data(), environment.data(), state_->pipes[0].writing.get(),
            state_->pipes[1].writing.get());
  for (auto& pipe : state_->pipes) pipe.writing = Descriptor();
  state_->process = Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, state_->pid, 0)));
  state_->reader = std::thread([state = state_.get()] { state->readUntilExit(); });
}

ChildProcess::~ChildProcess() {
  signal(SIGKILL);
  state_->reader.join();
}

pid_t ChildProcess::pid() const noexcept {
  return state_->pid;
}

void ChildProcess::signal(int number) {
  // Signal the pidfd, because the pid may have been reused.
  ::syscall(SYS_pidfd_send_signal, state_->process.get(), number, nullptr, 0);
}

std::string ChildProcess::output() const {
  return state_->text(0);
}
std::string ChildProcess::errors() const {
  return state_->text(1);
}

std::optional<int> ChildProcess::status() const {
  const MutexLock lock(state_->mutex);
  return state_->status;
}

std::optional<int> ChildProcess::waitForExit(std::chrono::milliseconds timeout) {
  state_->waitUntil(timeout, [state = state_.get()]()
                                 NO_THREAD_SAFETY_ANALYSIS { return state->status.has_value(); });
  return status();
}

bool ChildProcess::waitForOutput(std::string_view text, std::chrono::milliseconds timeout) {
  return state_->waitForText(0, text, timeout);
}
bool ChildProcess::waitForErrors(std::string_view text, std::chrono::milliseconds timeout) {
  return state_->waitForText(1, text, timeout);
}

Outcome runToCompletion(const std::vector<std::string>& command, const Environment& changes) {
  ChildProcess child(command, changes);
  const auto status = child.waitForExit();
  return {status.value_or(-1), child.output(), child.errors()};
}

Outcome runInShell(const std::string& line) {
  ChildProcess child({"sh", "-c", "exec 2>&1; " + line});
  const auto status = child.waitForExit(std::chrono::minutes(1));
  return {status.value_or(-1), child.output(), {}};
}

}  // namespace wevora::testing_host
