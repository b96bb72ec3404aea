#pragma once

#include <cerrno>
#include <functional>
#include <map>

#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Real file system calls with injected faults and callbacks.
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
    renameNoReplace,
    link,
    rename
  };

  /// Fails the nth call (counted from 0) and all later ones with this errno.
  void fail(Call call, int error, int nth = 0) { faults_[call] = {error, nth, false}; }
  /// Fails only the next call.
  void failOnce(Call call, int error) { faults_[call] = {error, count(call), true}; }
  /// Simulates a volume without RENAME_NOREPLACE.
  void disableRenameNoReplace() { fail(Call::renameNoReplace, EINVAL); }
  /// Simulates a volume without reflinks and copy_file_range(2).
  void disableKernelCopy() {
    fail(Call::clone, EOPNOTSUPP);
    fail(Call::copyRange, EXDEV);
  }
  /// Makes flush and flushVolume return 0 immediately, for tests that would wait for a busy disk.
  void disableFlush() { flushes_ = false; }
  /// Runs an action before each call that does not fail.
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
  int flush(int file) override {
    if (fails(Call::flush)) return -1;
    return flushes_ ? FileSystemCalls::flush(file) : 0;
  }
  int flushVolume(int file) override {
    if (fails(Call::flushVolume)) return -1;
    return flushes_ ? FileSystemCalls::flushVolume(file) : 0;
  }
  int renameNoReplace(int folder, const std::string& from, const std::string& to) override {
    return fails(Call::renameNoReplace) ? -1 : FileSystemCalls::renameNoReplace(folder, from, to);
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

  bool flushes_ = true;
  std::map<Call, Fault> faults_;
  std::map<Call, std::function<void()>> actions_;
  std::map<Call, int> counts_;
};

}  // namespace wevora::platform
