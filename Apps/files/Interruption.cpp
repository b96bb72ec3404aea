#include "Apps/files/Interruption.h"

#include <cerrno>

namespace wevora::files {
namespace {

volatile std::sig_atomic_t received = 0;

void remember(int signal) {
  received = signal;
}

bool isStopped() {
  if (received != 0) errno = ECANCELED;
  return received != 0;
}

}  // namespace

Interruption::Interruption() {
  received = 0;
  struct sigaction action {};
  action.sa_handler = remember;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    ::sigaction(kSignals[i], nullptr, &before_[i]);
    if (before_[i].sa_handler != SIG_IGN) ::sigaction(kSignals[i], &action, nullptr);
  }
}

Interruption::~Interruption() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) ::sigaction(kSignals[i], &before_[i], nullptr);
  received = 0;
}

int Interruption::signal() {
  return received;
}

void Interruption::check() {
  if (received != 0) throw Interrupted(received);
}

int StoppableFileCalls::openToRead(int folder, const std::string& name) {
  return isStopped() ? -1 : FileSystemCalls::openToRead(folder, name);
}

int StoppableFileCalls::openNew(int folder, const std::string& name) {
  return isStopped() ? -1 : FileSystemCalls::openNew(folder, name);
}

int StoppableFileCalls::clone(int to, int from) {
  return isStopped() ? -1 : FileSystemCalls::clone(to, from);
}

ssize_t StoppableFileCalls::copyRange(int from, int to, off_t offset, std::size_t bytes) {
  return isStopped() ? -1 : FileSystemCalls::copyRange(from, to, offset, bytes);
}

ssize_t StoppableFileCalls::read(int file, std::byte* bytes, std::size_t count, off_t offset) {
  return isStopped() ? -1 : FileSystemCalls::read(file, bytes, count, offset);
}

ssize_t StoppableFileCalls::write(int file, const std::byte* bytes, std::size_t count,
                                  off_t offset) {
  return isStopped() ? -1 : FileSystemCalls::write(file, bytes, count, offset);
}

int StoppableFileCalls::resize(int file, off_t size) {
  return isStopped() ? -1 : FileSystemCalls::resize(file, size);
}

int StoppableFileCalls::flush(int file) {
  return isStopped() ? -1 : FileSystemCalls::flush(file);
}

int StoppableFileCalls::flushVolume(int file) {
  return isStopped() ? -1 : FileSystemCalls::flushVolume(file);
}

int StoppableFileCalls::renameNoReplace(int folder, const std::string& from,
                                        const std::string& to) {
  return isStopped() ? -1 : FileSystemCalls::renameNoReplace(folder, from, to);
}

}  // namespace wevora::files
