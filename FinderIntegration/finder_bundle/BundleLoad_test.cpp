#include "FinderIntegration/finder_bundle/BundleLoad.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "Tests/PictureHost/BadgedHost.h"

namespace wevora {
namespace {

using platform::Implementation;
using testing_host::BadgedHost;
using testing_host::PictureHost;

TEST(BundleLoadTest, TheClassesAreLoadedInOneFixedOrder) {
  const BadgedHost badged;
  std::vector<std::string_view> names;
  for (const auto& hook : badged.bundle.hooks()) names.push_back(hook.name);
  EXPECT_EQ(names, (std::vector<std::string_view>{
                       "WVRFileTools", "WVAgentConnector", "InjectedBundleClass", "IconViewOverlay",
                       "WVIconCell", "WVFinderTools", "WVRDesktopIcon", "NSDate(DBFormat)"}));
}

/// The hooks that have run, detected by their effects on the host.
std::vector<std::string> tracesIn(BadgedHost& badged) {
  const auto has = [&](const char* className, const char* selector) {
    return badged.host.classNamed(className)->instanceMethod(selector) != nullptr;
  };
  std::vector<std::string> traces = badged.order;
  if (has("TSidebarView", "wvr_setDelegate:")) traces.emplace_back("InjectedBundleClass");
  if (has("IKIconCell", "wv_drawImage:")) traces.emplace_back("IconViewOverlay");
  if (has("TListViewIconAndTextCell", "wv_drawIconWithFrame:")) traces.emplace_back("WVIconCell");
  if (has("TDesktopIcon", "wv_drawLayer:inContext:")) traces.emplace_back("WVRDesktopIcon");
  return traces;
}

TEST(BundleLoadTest, EachHookInstallsOnlyItsOwnReplacements) {
  BadgedHost badged;
  std::vector<std::string> done;
  for (const auto& hook : badged.bundle.hooks()) {
    hook.load();
    const auto traces = tracesIn(badged);
    done.emplace_back(hook.name);
    for (const auto& trace : traces)
      EXPECT_NE(std::find(done.begin(), done.end(), trace), done.end())
          << trace << " is installed too early";
  }
  EXPECT_EQ(tracesIn(badged).size(), 7U) << "all but WVFinderTools, which only schedules";
}

TEST(BundleLoadTest, NothingIsReplacedBeforeRun) {
  BadgedHost badged;
  EXPECT_TRUE(tracesIn(badged).empty());
}

TEST(BundleLoadTest, WindowsAreRedrawnTwoSecondsAfterTheLoad) {
  BadgedHost badged;
  const auto browser = badged.host.recording.addBrowserWindow({});
  badged.engine.dispatch.runAll();
  const int before = browser->view->redraws;
  badged.load();
  badged.engine.dispatch.advance(std::chrono::milliseconds(1999));
  EXPECT_EQ(browser->view->redraws, before);
  badged.engine.dispatch.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(browser->view->redraws, before + 1);
}

/// A bundle in a host that has only icon cells.
class AloneTest : public testing::Test {
 protected:
  AloneTest() {
    cells->addMethod("drawImage:", Implementation::of<void(Id)>([](const Id&, const Id&) {}),
                     "v@:@");
  }
  BundleLoad::Services services() {
    return {.principal = {.runtime = runtime,
                          .mainQueue = badged.engine.dispatch.mainQueue(),
                          .paths = badged.installed.paths,
                          .setVersion = nullptr},
            .provider = badged.providerAccess(),
            .finderTools = [this]() -> WVFinderTools& { return tools; },
            .loadFileTools = nullptr,
            .loadAgentConnector = nullptr,
            .loadDateFormat = [this] { last = true; }};
  }
  BadgedHost badged;
  WVFinderTools tools{badged.host.runtime(), badged.engine.dispatch.mainQueue(),
                      badged.engine.clock};
  platform::Runtime runtime;
  std::shared_ptr<platform::Class> cells = runtime.registerClass("IKIconCell");
  bool last = false;  ///< whether the last hook has run
};

TEST_F(AloneTest, AHookThatThrowsDoesNotPreventTheNextOnes) {
  auto raising = services();
  raising.loadFileTools = [] { throw platform::HostException("no file tools"); };
  const BundleLoad bundle(std::move(raising));
  bundle.run();
  EXPECT_TRUE(cells->instanceMethod("wv_drawImage:"));
  EXPECT_TRUE(last);
}

TEST_F(AloneTest, TheSharedInstancesAreRequestedOnlyByTheHooksThatUseThem) {
  std::vector<std::string> requests;
  auto recording = services();
  recording.provider = [&]() -> WVIconProvider& {
    requests.emplace_back("provider");
    return *badged.engine.provider;
  };
  recording.finderTools = [&]() -> WVFinderTools& {
    requests.emplace_back("tools");
    return tools;
  };
  recording.loadFileTools = [&] { requests.emplace_back("WVRFileTools"); };
  recording.loadDateFormat = [&] { requests.emplace_back("NSDate(DBFormat)"); };
  const BundleLoad bundle(std::move(recording));
  EXPECT_TRUE(requests.empty());
  bundle.run();
  EXPECT_EQ(requests, (std::vector<std::string>{"WVRFileTools", "tools", "NSDate(DBFormat)"}));
}

TEST_F(AloneTest, ASharedInstanceThatCannotBeCreatedStopsNoOtherHookAndNoDrawing) {
  auto raising = services();
  raising.provider = []() -> WVIconProvider& { throw std::runtime_error("no provider"); };
  raising.finderTools = []() -> WVFinderTools& { throw std::runtime_error("no tools"); };
  const BundleLoad bundle(std::move(raising));
  bundle.run();
  EXPECT_TRUE(last);
  EXPECT_NO_THROW(badged.engine.dispatch.advance(std::chrono::seconds(4)));
  EXPECT_NO_THROW(
      platform::send<void>(std::make_shared<platform::Object>(*cells), "drawImage:", Id()));
}

TEST(BundleLoadTest, InAHostWithNoneOfTheClassesNothingHappens) {
  BadgedHost badged(PictureHost::Classes::none());
  badged.load();
  badged.engine.dispatch.advance(std::chrono::seconds(10));
  EXPECT_EQ(badged.order,
            (std::vector<std::string>{"WVRFileTools", "WVAgentConnector", "NSDate(DBFormat)"}));
}

}  // namespace
}  // namespace wevora
