#pragma once

#include <any>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Platform/Base/Mutex.h"
#include "Platform/Installation/InstalledPaths.h"
#include "Platform/PropertyLists/Value.h"

namespace wevora {

/// The path of a user's settings; "%@" is replaced by the login name.
inline constexpr const char* kUserAppSupportFilePath =
    "/Users/%@/Library/Application Support/Wevora/wevora-settings.plist";
/// The template that is copied there when they are missing.
inline constexpr const char* kDefaultAppSupportFilePath =
    "/Library/Application Support/Wevora/wevora-settings.plist";

/// The settings file of one user: copied from the template when it is missing, filled with defaults
/// when it is empty, read and written key by key. Nothing is cached: every call reads the disk.
///
/// Thread-safety: any thread. Each object has one lock for every read-modify-write; other objects
///   and processes that write the same file are not excluded.
/// Errors: ignored, and the next step runs. A file that cannot be read yields no values; before the
///   next write it is copied to "wevora-settings.plist.unreadable" and replaced by the defaults.
class WVRAppSupport {
  struct Private {
    explicit Private() = default;
  };

 public:
  using Text = std::optional<std::string>;

  /// For the login user of this process. The first argument has no effect.
  // -initWith:
  static std::unique_ptr<WVRAppSupport> initWith(const std::any& anything,
                                                 const platform::InstalledPaths& paths);
  /// Repairs the file at once.
  // -initWithUserName:
  static std::unique_ptr<WVRAppSupport> initWithUserName(Text userName,
                                                         const platform::InstalledPaths& paths);
  WVRAppSupport(Private, Text userName, const platform::InstalledPaths& paths);
  WVRAppSupport(const WVRAppSupport&) = delete;
  WVRAppSupport& operator=(const WVRAppSupport&) = delete;
  ~WVRAppSupport() = default;

  /// Reads the value from the file.
  // -readKey:
  std::optional<platform::Value> readKey(const Text& key) EXCLUDES(lock_);
  /// The user has no effect: an object has one file. Callers pass an account.
  // -readKey:forUser:
  std::optional<platform::Value> readKey(const Text& key, const Text& forUser) EXCLUDES(lock_);

  /// Does nothing where the key or the value is null.
  // -writeKey:toValue:
  void writeKey(const Text& key, const std::optional<platform::Value>& toValue) EXCLUDES(lock_);
  /// The user has no effect.
  // -writeKey:toValue:forUser:
  void writeKey(const Text& key, const std::optional<platform::Value>& toValue, const Text& forUser)
      EXCLUDES(lock_);

  /// Creates a missing file and fills an empty one; a file with one entry stays unchanged.
  // -checkUserAppSupportFileAndRestoreIfNeed
  void checkUserAppSupportFileAndRestoreIfNeed() EXCLUDES(lock_);
  /// Replaces the file by a copy of the template.
  // -restoreUserAppSupportFile
  void restoreUserAppSupportFile();
  /// Sets the defaults in the file, overwriting the values of their keys.
  // -writeDefaultSettingsForUserIfNeed
  void writeDefaultSettingsForUserIfNeed() EXCLUDES(lock_);

  /// The user's file; empty where the user has no home folder.
  const std::string& appSupportFilePath() const { return appSupportFilePath_; }

  /// For tests: called while writeKey() has released the lock to check the file again.
  void setUnlockedHook(std::function<void()> hook) { unlockedHook_ = std::move(hook); }

 private:
  void write(const std::string& text) REQUIRES(lock_);

  platform::Mutex lock_;
  const std::string appSupportFilePath_;
  const std::string defaultFilePath_;
  const Text accId_;  ///< Nothing sets it: only the root keys are written.
  const Text macUserName_;
  std::function<void()> unlockedHook_;
};

}  // namespace wevora
