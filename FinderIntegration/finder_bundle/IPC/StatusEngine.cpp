#include "FinderIntegration/finder_bundle/IPC/StatusEngine.h"

#include <utility>

#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"

namespace wevora {
namespace {

class BundleEngine : public StatusEngine {
 public:
  BundleEngine(WVIconProvider& provider, WVFinderTools& tools)
      : provider_(provider), tools_(tools) {}

  void setTurnedOn(bool turnedOn) override { provider_.setTurnedOn(turnedOn); }
  void reinit() override { provider_.reinit(); }
  void setAccountIdOfPool(const Text& accountId) override {
    provider_.pool()->setAccountId(accountId);
  }
  void reinitPool() override { provider_.pool()->reinit(); }
  void updateWindows() override { tools_.updateWindows(); }
  void updateDesktopForce(bool force) override { tools_.updateDesktopForce(force); }
  void updateNodesWithPath(std::vector<std::string> paths) override {
    tools_.updateNodesWithPath(std::move(paths));
  }

 private:
  WVIconProvider& provider_;
  WVFinderTools& tools_;
};

}  // namespace

std::unique_ptr<StatusEngine> statusEngineOf(WVIconProvider& provider, WVFinderTools& tools) {
  return std::make_unique<BundleEngine>(provider, tools);
}

}  // namespace wevora
