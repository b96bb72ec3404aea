#include "CommonCode/Tools/WVRAppSupport/WVRAppSupport.h"

#include <filesystem>
#include <string_view>
#include <utility>

#include "CommonCode/Tools/WVRAppSupport/DefaultSettings.h"
#include "CommonCode/Tools/WVRAppSupport/SettingsFile.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Installation/LoginUser.h"
#include "Platform/PropertyLists/PropertyLists.h"

namespace wevora {
namespace {

using platform::Dictionary;
using platform::PropertyLists;
using platform::Value;

std::string userFilePath(const std::string& userName) {
  constexpr std::string_view kPlaceholder = "%@";
  std::string path = kUserAppSupportFilePath;
  return path.replace(path.find(kPlaceholder), kPlaceholder.size(), userName);
}

std::optional<Dictionary> dictionaryAt(const std::string& path) {
  auto list = PropertyLists::read(path);
  auto* dictionary = list ? list->as<Dictionary>() : nullptr;
  if (dictionary == nullptr) return std::nullopt;
  return std::move(*dictionary);
}

}  // namespace

std::unique_ptr<WVRAppSupport> WVRAppSupport::initWith(const std::any&,
                                                       const platform::InstalledPaths& paths) {
  return initWithUserName(platform::loginName(), paths);
}

std::unique_ptr<WVRAppSupport> WVRAppSupport::initWithUserName(
    Text userName, const platform::InstalledPaths& paths) {
  auto support = std::make_unique<WVRAppSupport>(Private(), std::move(userName), paths);
  support->checkUserAppSupportFileAndRestoreIfNeed();
  return support;
}

WVRAppSupport::WVRAppSupport(Private, Text userName, const platform::InstalledPaths& paths)
    : appSupportFilePath_(paths.translate(userFilePath(userName.value_or("")))),
      defaultFilePath_(paths.translate(kDefaultAppSupportFilePath)),
      macUserName_(std::move(userName)) {}

std::optional<Value> WVRAppSupport::readKey(const Text& key) {
  const platform::MutexLock held(lock_);
  auto settings = dictionaryAt(appSupportFilePath_);
  Value* value = settings && key ? settings->find(*key) : nullptr;
  if (value == nullptr) return std::nullopt;
  return std::move(*value);
}

std::optional<Value> WVRAppSupport::readKey(const Text& key, const Text&) {
  return readKey(key);
}

void WVRAppSupport::writeKey(const Text& key, const std::optional<Value>& toValue) {
  if (!key || !toValue) return;
  checkUserAppSupportFileAndRestoreIfNeed();
  platform::MutexLock held(lock_);
  auto settings = dictionaryAt(appSupportFilePath_);
  if (!settings) return;
  settings->set(*key, *toValue);
  const auto text = PropertyLists::xml(*settings);
  if (!text) return;
  // The file may have been removed meanwhile; the repair takes the lock itself.
  held.unlock();
  if (unlockedHook_) unlockedHook_();
  checkUserAppSupportFileAndRestoreIfNeed();
  held.lock();
  write(*text);
}

void WVRAppSupport::writeKey(const Text& key, const std::optional<Value>& toValue, const Text&) {
  writeKey(key, toValue);
}

void WVRAppSupport::checkUserAppSupportFileAndRestoreIfNeed() {
  if (!platform::statOfTarget(appSupportFilePath_)) {
    restoreUserAppSupportFile();
    writeDefaultSettingsForUserIfNeed();
    return;
  }
  const auto settings = dictionaryAt(appSupportFilePath_);
  if (!settings || settings->empty()) writeDefaultSettingsForUserIfNeed();
}

void WVRAppSupport::restoreUserAppSupportFile() {
  if (appSupportFilePath_.empty()) return;
  std::error_code ignored;
  if (platform::statOfTarget(appSupportFilePath_))
    std::filesystem::remove_all(appSupportFilePath_, ignored);
  const auto owner = macUserName_ ? platform::idOfUser(*macUserName_) : std::nullopt;
  createSettingsFolder(std::string(platform::pathWithoutLastComponent(appSupportFilePath_)), owner);
  copySettingsFile(defaultFilePath_, appSupportFilePath_);
  setSettingsFileAttributes(appSupportFilePath_, owner);
}

void WVRAppSupport::writeDefaultSettingsForUserIfNeed() {
  const platform::MutexLock held(lock_);
  auto settings = dictionaryAt(appSupportFilePath_);
  if (!settings) {
    keepUnreadableSettingsFile(appSupportFilePath_);
    settings.emplace();
  }
  setDefaultSettings(*settings, accId_);
  if (const auto text = PropertyLists::xml(*settings)) write(*text);
}

void WVRAppSupport::write(const std::string& text) {
  writeOverSettingsFile(appSupportFilePath_, text);
}

}  // namespace wevora
