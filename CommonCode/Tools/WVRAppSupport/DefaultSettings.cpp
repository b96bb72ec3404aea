#include "CommonCode/Tools/WVRAppSupport/DefaultSettings.h"

namespace wevora {
namespace {

void setFourKeys(platform::Dictionary& settings) {
  settings.set("HideDesktopItem", false);
  settings.set("kFinderOverlayEnabledKey", true);
  settings.set("KeepAlive", true);
  settings.set("RunAtLoad", true);
}

}  // namespace

void setDefaultSettings(platform::Dictionary& settings, const std::optional<std::string>& accId) {
  setFourKeys(settings);
  if (!accId) return;
  platform::Value* entry = settings.find(*accId);
  auto* own = entry == nullptr ? nullptr : entry->as<platform::Dictionary>();
  if (own != nullptr) {
    setFourKeys(*own);
  } else {
    platform::Dictionary made;
    setFourKeys(made);
    settings.set(*accId, std::move(made));
  }
}

}  // namespace wevora
