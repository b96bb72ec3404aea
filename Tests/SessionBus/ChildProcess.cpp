#include "Tests/SessionBus/ChildProcess.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace wevora::testing_host {
namespace {

constexpr int kPatienceMilliseconds = 10000;

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
  std::array<int, 2> pipe{};
  if (::pipe2(pipe.data(), O_CLOEXEC) != 0) return;
  std::vector<std::string> texts = command;
  std::vector<char*> arguments;
  arguments.reserve(texts.size() + 1);
  for (auto& text : texts) arguments.push_back(text.data());
  arguments.push_back(nullptr);
  pid_ = ::fork();
  if (pid_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(pipe[1], STDOUT_FILENO);
    ::execvp(arguments.front(), arguments.data());
    ::_exit(127);
  }
  ::close(pipe[1]);
  output_ = pipe[0];
}

ChildProcess::~ChildProcess() {
  end();
  if (output_ >= 0) ::close(output_);
}

std::string ChildProcess::line() {
  std::size_t end = 0;
  while ((end = read_.find('\n')) == std::string::npos) {
    pollfd ready{output_, POLLIN, 0};
    if (::poll(&ready, 1, kPatienceMilliseconds) <= 0) return "";
    std::array<char, 4096> buffer{};
    const auto count = ::read(output_, buffer.data(), buffer.size());
    if (count <= 0) return "";
    read_.append(buffer.data(), static_cast<std::size_t>(count));
  }
  std::string line = read_.substr(0, end);
  read_.erase(0, end + 1);
  return line.empty() ? " " : line;
}

std::string ChildProcess::lineWith(const std::string& text) {
  for (std::string next = line(); !next.empty(); next = line())
    if (next.find(text) != std::string::npos) return next;
  return "";
}

void ChildProcess::end() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

Outcome run(const std::string& command) {
  Outcome outcome;
  FILE* pipe = ::popen(("{ " + command + "; } 2>&1").c_str(), "r");
  if (pipe == nullptr) return outcome;
  std::array<char, 4096> buffer{};
  std::size_t count = 0;
  while ((count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
    outcome.output.append(buffer.data(), count);
  const int status = ::pclose(pipe);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

}  // namespace wevora::testing_host
