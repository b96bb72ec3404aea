#pragma once

#include <cerrno>
#include <functional>
#include <map>

#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// File calls of which a test lets some fail.
/// Threads: one. Owns: the faults. Errors: those that the test asks for.
class FaultInjectingFileSystem : public FileSystemCalls {
 public:
  enum class Call {
    openToRead,
    openNew,
    close,
    clone,
    copyRange,
    read,
    write,
    resize,
    flush,
    flushVolume,
    renameToNew,
    link,
    rename
  };

  /// From its nth call on (the first is 0), `call` fails with this errno.
  void fail(Call call, int error, int nth = 0) { faults_[call] = {error, nth, false}; }
  /// Its next call alone.
  void failOnce(Call call, int error) { faults_[call] = {error, count(call), true}; }
  /// As on a volume that cannot promise to rename over nothing.
  void renameWithoutPromise() { fail(Call::renameToNew, EINVAL); }
  /// As on a volume whose kernel driver copies nothing by itself.
  void copyWithoutTheKernel() {
    fail(Call::clone, EOPNOTSUPP);
    fail(Call::copyRange, EXDEV);
  }
  /// Runs before each call that is let through.
  void before(Call call, std::function<void()> action) { actions_[call] = std::move(action); }
  int count(Call call) const {
    const auto found = counts_.find(call);
    return found == counts_.end() ? 0 : found->second;
  }

  int openToRead(int folder, const std::string& name) override {
    return fails(Call::openToRead) ? -1 : FileSystemCalls::openToRead(folder, name);
  }
  int openNew(int folder, const std::string& name) override {
    return fails(Call::openNew) ? -1 : FileSystemCalls::openNew(folder, name);
  }
  int close(int file) override {
    const int result = FileSystemCalls::close(file);
    return fails(Call::close) ? -1 : result;
  }
  int clone(int to, int from) override {
    return fails(Call::clone) ? -1 : FileSystemCalls::clone(to, from);
  }
  ssize_t copyRange(int from, int to, off_t offset, std::size_t bytes) override {
    return fails(Call::copyRange) ? -1 : FileSystemCalls::copyRange(from, to, offset, bytes);
  }
  ssize_t read(int file, std::byte* bytes, std::size_t count, off_t offset) override {
    return fails(Call::read) ? -1 : FileSystemCalls::read(file, bytes, count, offset);
  }
  ssize_t write(int file, const std::byte* bytes, std::size_t count, off_t offset) override {
    return fails(Call::write) ? -1 : FileSystemCalls::write(file, bytes, count, offset);
  }
  int resize(int file, off_t size) override {
    return fails(Call::resize) ? -1 : FileSystemCalls::resize(file, size);
  }
  int flush(int file) override { return fails(Call::flush) ? -1 : FileSystemCalls::flush(file); }
  int flushVolume(int file) override {
    return fails(Call::flushVolume) ? -1 : FileSystemCalls::flushVolume(file);
  }
  int renameToNew(int folder, const std::string& from, const std::string& to) override {
    return fails(Call::renameToNew) ? -1 : FileSystemCalls::renameToNew(folder, from, to);
  }
  int link(int folder, const std::string& from, const std::string& to) override {
    return fails(Call::link) ? -1 : FileSystemCalls::link(folder, from, to);
  }
  int rename(int folder, const std::string& from, const std::string& to) override {
    return fails(Call::rename) ? -1 : FileSystemCalls::rename(folder, from, to);
  }

 private:
  struct Fault {
    int error;
    int nth;
    bool once;
  };

  bool fails(Call call) {
    const int number = counts_[call]++;
    const auto fault = faults_.find(call);
    if (fault != faults_.end() && number >= fault->second.nth &&
        (!fault->second.once || number == fault->second.nth)) {
      errno = fault->second.error;
      return true;
    }
    if (const auto action = actions_.find(call); action != actions_.end()) action->second();
    return false;
  }

  std::map<Call, Fault> faults_;
  std::map<Call, std::function<void()>> actions_;
  std::map<Call, int> counts_;
};

}  // namespace wevora::platform
