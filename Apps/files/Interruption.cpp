#include "Apps/files/Interruption.h"

#include <cerrno>

namespace wevora::files {
namespace {

volatile std::sig_atomic_t received = 0;

void recordSignal(int signal) {
  received = signal;
}

/// Whether a signal was received; sets errno for the cancelled call.
bool isCancelled() {
  if (received != 0) errno = ECANCELED;
  return received != 0;
}

}  // namespace

Interruption::Interruption() {
  received = 0;
  struct sigaction action {};
  action.sa_handler = recordSignal;
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

int CancellableFileCalls::openToRead(int folder, const std::string& name) {
  return isCancelled() ? -1 : FileSystemCalls::openToRead(folder, name);
}

int CancellableFileCalls::openNew(int folder, const std::string& name) {
  return isCancelled() ? -1 : FileSystemCalls::openNew(folder, name);
}

int CancellableFileCalls::clone(int to, int from) {
  return isCancelled() ? -1 : FileSystemCalls::clone(to, from);
}

ssize_t CancellableFileCalls::copyRange(int from, int to, off_t offset, std::size_t bytes) {
  return isCancelled() ? -1 : FileSystemCalls::copyRange(from, to, offset, bytes);
}

ssize_t CancellableFileCalls::read(int file, std::byte* bytes, std::size_t count, off_t offset) {
  return isCancelled() ? -1 : FileSystemCalls::read(file, bytes, count, offset);
}

ssize_t CancellableFileCalls::write(int file, const std::byte* bytes, std::size_t count,
                                    off_t offset) {
  return isCancelled() ? -1 : FileSystemCalls::write(file, bytes, count, offset);
}

int CancellableFileCalls::resize(int file, off_t size) {
  return isCancelled() ? -1 : FileSystemCalls::resize(file, size);
}

int CancellableFileCalls::flush(int file) {
  return isCancelled() ? -1 : FileSystemCalls::flush(file);
}

int CancellableFileCalls::flushVolume(int file) {
  return isCancelled() ? -1 : FileSystemCalls::flushVolume(file);
}

int CancellableFileCalls::renameNoReplace(int folder, const std::string& from,
                                          const std::string& to) {
  return isCancelled() ? -1 : FileSystemCalls::renameNoReplace(folder, from, to);
}

}  // namespace wevora::files
