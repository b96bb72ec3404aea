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

/// Where a user's settings are; the login name goes into the place of "%@".
inline constexpr const char* kUserAppSupportFilePath =
    "/Users/%@/Library/Application Support/Wevora/wevora-settings.plist";
/// What is copied there when they are missing.
inline constexpr const char* kDefaultAppSupportFilePath =
    "/Library/Application Support/Wevora/wevora-settings.plist";

/// The settings file of one user: made from the template when it is missing, filled with defaults
/// when it is empty, read and written key by key. Nothing is cached: every call touches the disk.
///
/// Threads: any. One lock for each object guards each read-modify-write; another object or process
///   that writes the same file is not kept out.
/// Owns: its texts and the lock.
/// Errors: none is reported; a step that fails is passed over. A file that cannot be read is
///   replaced by the defaults before the next write, and answers none until then.
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

  /// The value as the file has it now.
  // -readKey:
  std::optional<platform::Value> readKey(const Text& key) EXCLUDES(lock_);
  /// The same, whoever the user is: an object has one file. Callers pass an account here.
  // -readKey:forUser:
  std::optional<platform::Value> readKey(const Text& key, const Text& forUser) EXCLUDES(lock_);

  /// Does nothing where one of the two is none.
  // -writeKey:toValue:
  void writeKey(const Text& key, const std::optional<platform::Value>& toValue) EXCLUDES(lock_);
  /// The same, whoever the user is.
  // -writeKey:toValue:forUser:
  void writeKey(const Text& key, const std::optional<platform::Value>& toValue, const Text& forUser)
      EXCLUDES(lock_);

  /// Makes a missing file anew and fills an empty one; one entry is enough to be left alone.
  // -checkUserAppSupportFileAndRestoreIfNeed
  void checkUserAppSupportFileAndRestoreIfNeed() EXCLUDES(lock_);
  /// Puts a copy of the template in the place of the file.
  // -restoreUserAppSupportFile
  void restoreUserAppSupportFile();
  /// Sets the defaults in the file, whatever it had under their keys.
  // -writeDefaultSettingsForUserIfNeed
  void writeDefaultSettingsForUserIfNeed() EXCLUDES(lock_);

  /// The user's file; "" where the user has no home folder.
  const std::string& appSupportFilePath() const { return appSupportFilePath_; }

  /// For tests: what happens to the file while a write that has its text holds no lock.
  void setMeanwhile(std::function<void()> meanwhile) { meanwhile_ = std::move(meanwhile); }

 private:
  void write(const std::string& text) REQUIRES(lock_);

  platform::Mutex lock_;
  const std::string appSupportFilePath_;
  const std::string defaultFilePath_;
  const Text accId_;  ///< Nothing sets it: only the root keys are written.
  const Text macUserName_;
  std::function<void()> meanwhile_;
};

}  // namespace wevora
