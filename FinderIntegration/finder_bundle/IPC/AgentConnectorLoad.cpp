#include "CommonCode/Tools/WVRAppSupport/WVRAppSupport.h"
#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"
#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Base/Guard.h"
#include "Platform/Installation/InstalledPaths.h"
#include "Platform/Installation/LoginUser.h"
#include "Platform/System/SystemServices.h"

namespace wevora {
namespace {

class UserSettings : public SettingsReader {
 public:
  explicit UserSettings(const std::optional<std::string>& accountId)
      : settings_(WVRAppSupport::initWith(accountId, platform::InstalledPaths::shared())) {}

  std::optional<platform::Value> readKey(const std::string& key,
                                         const std::optional<std::string>& forUser) override {
    return settings_->readKey(key, forUser);
  }

 private:
  std::unique_ptr<WVRAppSupport> settings_;
};

}  // namespace

void WVAgentConnector::load() {
  static platform::NeverDestroyed<WVAgentConnector> connector([] {
    auto& services = platform::SystemServices::shared();
    static const auto engine =
        statusEngineOf(WVIconProvider::defaultProvider(), WVFinderTools::sharedTools());
    return WVAgentConnectorServices{
        platform::loginName(),
        services.distributedObjects,
        services.distributedNotifications,
        platform::LocalNotificationCenter::defaultCenter(),
        *engine,
        [](const Text& accountId) { return std::make_unique<UserSettings>(accountId); }};
  }());
  connector->connect();
}

}  // namespace wevora
