#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/Tools/WVTFENodeHelper.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/RecordingHost/RecordingHost.h"

namespace wevora {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using testing_host::RecordingHost;

/// The tools in a host, on a virtual clock.
struct World {
  World() : World(RecordingHost::Classes{}) {}
  explicit World(RecordingHost::Classes classes) : host(classes) {}

  RecordingHost host;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  WVFinderTools tools{host.runtime, dispatch.mainQueue(), clock};

  void run() { dispatch.runAll(); }
  /// A reload has just been made, and the marks are clean.
  void reloadOnce() {
    tools.updateDesktopForce(false);
    run();
    host.desktopReloads = 0;
  }
};

TEST(UpdateWindows, RedrawsTheViewOfEveryBrowserWindowOnTheMainQueue) {
  World world;
  const auto first = world.host.addBrowserWindow({"/a"});
  const auto second = world.host.addBrowserWindow({});
  world.tools.updateWindows();
  EXPECT_EQ(first->view->redraws, 0);
  world.run();
  EXPECT_EQ(first->view->redraws, 1);
  EXPECT_EQ(second->view->redraws, 1);
  EXPECT_EQ(first->items[0].controlView->redraws, 0);
}

TEST(UpdateWindows, SkipsAWindowThatIsNotABrowserWindow) {
  World world;
  const auto panel = world.host.addInformationPanel();
  const auto browser = world.host.addBrowserWindow({});
  world.tools.updateWindows();
  world.run();
  EXPECT_EQ(panel->redraws, 0);
  EXPECT_EQ(browser->view->redraws, 1);
}

TEST(UpdateWindows, SkipsTheRestOfThePassWhenTheHostRaises) {
  World world;
  const auto before = world.host.addBrowserWindow({});
  world.host.addRaisingWindow();
  const auto behind = world.host.addBrowserWindow({});
  world.tools.updateWindows();
  world.run();
  EXPECT_EQ(before->view->redraws, 1);
  EXPECT_EQ(behind->view->redraws, 0);
}

TEST(UpdateWindows, IsCalledTwoSecondsAfterTheBundleIsLoaded) {
  World world;
  const auto browser = world.host.addBrowserWindow({});
  world.tools.load();
  world.dispatch.advance(1999ms);
  EXPECT_EQ(browser->view->redraws, 0);
  world.dispatch.advance(1ms);
  EXPECT_EQ(browser->view->redraws, 1);
}

TEST(UpdateNodesWithPath, RedrawsTheVisibleItemsThatAreListedAndNoOthers) {
  World world;
  const auto browser = world.host.addBrowserWindow({"/f/a", "/f/b"});
  world.tools.updateNodesWithPath({"/f/b", "/f/c"});
  world.run();
  EXPECT_EQ(browser->view->redraws, 1);
  EXPECT_EQ(browser->items[0].controlView->redraws, 0);
  EXPECT_EQ(browser->items[1].controlView->redraws, 1);
}

TEST(UpdateNodesWithPath, LowersOnlyTheItemsPathSoThatAListedPathWithCapitalsMatchesNothing) {
  World world;
  const auto browser = world.host.addBrowserWindow({"/F/\xC3\x89t\xC3\xA9", "/F/B"});
  world.tools.updateNodesWithPath({"/f/\xC3\xA9t\xC3\xA9", "/F/B"});
  world.run();
  EXPECT_EQ(browser->items[0].controlView->redraws, 1);
  EXPECT_EQ(browser->items[1].controlView->redraws, 0);
}

TEST(UpdateNodesWithPath, WithAnEmptyArrayStillRedrawsEveryBrowserView) {
  World world;
  const auto browser = world.host.addBrowserWindow({"/a"});
  world.tools.updateNodesWithPath({});
  world.run();
  EXPECT_EQ(browser->view->redraws, 1);
  EXPECT_EQ(browser->items[0].controlView->redraws, 0);
}

TEST(UpdateNodesWithPath, AnExceptionInOneWindowsItemsEndsThatWindowsPassOnly) {
  World world;
  const auto raising = world.host.addBrowserWindow({"/a"});
  raising->raises = true;
  const auto other = world.host.addBrowserWindow({"/a"});
  world.tools.updateNodesWithPath({"/a"});
  world.run();
  EXPECT_EQ(raising->items[0].controlView->redraws, 0);
  EXPECT_EQ(other->items[0].controlView->redraws, 1);
}

TEST(UpdateVisibleNodesWithPath, AsksAnEmptyControllerForNothing) {
  World world;
  const auto browser = world.host.addBrowserWindow({});
  browser->raises = true;
  world.tools.updateVisibleNodesWithPath({"/a"}, browser);
  EXPECT_EQ(browser->view->redraws, 0);
}

TEST(UpdateDesktop, TheFirstRequestEverReloadsAtOnceInTheFixedOrder) {
  World world;
  world.tools.updateDesktopForce(false);
  world.run();
  EXPECT_EQ(world.host.calls,
            (std::vector<std::string>{"reloadData", "nodes", "updateNodes:", "inlinePreviewView"}));
  EXPECT_EQ(world.host.desktopUpdates, 1);
  EXPECT_EQ(world.host.desktopPreview->redraws, 1);
}

TEST(UpdateDesktop, TwiceWithinASecondAfterAReloadSchedulesOneDelayedReload) {
  World world;
  world.reloadOnce();
  world.dispatch.advance(500ms);
  world.tools.updateDesktopForce(false);
  world.dispatch.advance(400ms);
  world.tools.updateDesktopForce(false);
  world.dispatch.advance(1599ms);
  EXPECT_EQ(world.host.desktopReloads, 0);
  world.dispatch.advance(1ms);
  EXPECT_EQ(world.host.desktopReloads, 1);
  world.dispatch.advance(10s);
  EXPECT_EQ(world.host.desktopReloads, 1);
}

TEST(UpdateDesktop, ForcedRightAfterAReloadReloadsAtOnce) {
  World world;
  world.reloadOnce();
  world.tools.updateDesktopForce(true);
  world.run();
  EXPECT_EQ(world.host.desktopReloads, 1);
}

TEST(UpdateDesktop, ThreeSecondsAfterAReloadIsNotThrottledAnyMore) {
  World world;
  world.reloadOnce();
  world.dispatch.advance(2999ms);
  world.tools.updateDesktopForce(false);
  world.run();
  EXPECT_EQ(world.host.desktopReloads, 0);
  world.dispatch.advance(1ms);
  world.tools.updateDesktopForce(false);
  world.run();
  EXPECT_EQ(world.host.desktopReloads, 1);
}

TEST(UpdateDesktop, AForcedReloadDoesNotAbsorbTheDelayedOne) {
  World world;
  world.reloadOnce();
  world.tools.updateDesktopForce(false);
  world.tools.updateDesktopForce(true);
  world.run();
  EXPECT_EQ(world.host.desktopReloads, 1);
  world.dispatch.advance(2s);
  EXPECT_EQ(world.host.desktopReloads, 2);
}

TEST(UpdateDesktop, ADelayedReloadCountsFromItsRequest) {
  World world;
  world.reloadOnce();
  world.dispatch.advance(1s);
  world.tools.updateDesktopForce(false);  // reloads 2 s later, and is then 2 s old
  world.dispatch.advance(2s);
  EXPECT_EQ(world.host.desktopReloads, 1);
  world.dispatch.advance(1s);
  world.tools.updateDesktopForce(false);
  world.run();
  EXPECT_EQ(world.host.desktopReloads, 2);
}

TEST(UpdateDesktop, AfterTheDelayedReloadAnotherCanBePending) {
  World world;
  world.reloadOnce();
  for (int i = 0; i < 2; ++i) {
    world.tools.updateDesktopForce(false);
    world.dispatch.advance(2s);
  }
  EXPECT_EQ(world.host.desktopReloads, 2);
}

TEST(UpdateDesktop, AnExceptionFromTheHostDoesNotEndTheDelayedReloads) {
  World world;
  world.reloadOnce();
  world.host.desktopRaises = true;
  world.tools.updateDesktopForce(false);
  world.dispatch.advance(2s);
  world.host.desktopRaises = false;
  world.tools.updateDesktopForce(false);
  world.dispatch.advance(2s);
  EXPECT_EQ(world.host.desktopReloads, 1);
}

class BrokenClock : public platform::VirtualClock {
 public:
  platform::Date now() const override { throw std::runtime_error("no date"); }
};

TEST(UpdateDesktop, DropsTheRequestWhenTheDateCannotBeRead) {
  World world;
  const BrokenClock broken;
  WVFinderTools tools(world.host.runtime, world.dispatch.mainQueue(), broken);
  tools.updateDesktopForce(true);
  world.run();
  EXPECT_EQ(world.host.desktopReloads, 0);
}

TEST(WVFinderToolsTest, WithoutTheHostsClassesNothingIsDoneAndNothingFails) {
  World world({.windows = false, .browserControllers = false, .desktop = false, .nodes = false});
  const auto browser = world.host.addBrowserWindow({"/a"});
  world.tools.updateWindows();
  world.tools.updateNodesWithPath({"/a"});
  world.tools.updateVisibleNodesWithPath({"/a"}, browser);
  world.tools.updateDesktopForce(true);
  world.run();
  EXPECT_EQ(browser->view->redraws + browser->items[0].controlView->redraws, 0);
  EXPECT_EQ(world.host.desktopReloads, 0);
}

TEST(WVFinderToolsTest, WithoutTheBrowserControllersClassNoWindowIsABrowserWindow) {
  World world({.browserControllers = false});
  const auto browser = world.host.addBrowserWindow({"/a"});
  world.tools.updateWindows();
  world.run();
  EXPECT_EQ(browser->view->redraws, 0);
}

TEST(PathForNode, OfANullPointerIsNone) {
  const RecordingHost host;
  EXPECT_EQ(WVTFENodeHelper::pathForNode(nullptr, host.runtime), std::nullopt);
}

TEST(PathForNode, IsTheNodesUrl) {
  RecordingHost host;
  const TFENode reference = host.referenceTo("/a b");
  EXPECT_EQ(WVTFENodeHelper::pathForNode(&reference, host.runtime)->absoluteString(),
            "file://localhost/a%20b");
}

TEST(ArrayForNodeVector, HoldsTheNodesOfAllElementsInOrder) {
  RecordingHost host;
  TFENodeVector vector;
  for (int i = 0; i < 50; ++i) vector.push_back(host.referenceTo("/" + std::to_string(i)));
  const auto nodes = WVTFENodeHelper::arrayForNodeVector(&vector, host.runtime);
  ASSERT_EQ(nodes.size(), 50U);
  for (std::size_t i = 0; i < nodes.size(); ++i) EXPECT_EQ(nodes[i].get(), vector[i].fNodeRef);
}

TEST(ItemURLTest, OfTheBootVolumesRootHasItsFixedText) {
  EXPECT_EQ(ItemURL("/").absoluteString(), "file://localhost/");
  EXPECT_TRUE(ItemURL::fromString("file://localhost/")->isBootVolumeRoot());
  EXPECT_FALSE(ItemURL("/a").isBootVolumeRoot());
  EXPECT_EQ(ItemURL::fromString("file:///a%20b")->path(), "/a b");
  EXPECT_EQ(ItemURL::fromString("ftp://a/b"), std::nullopt);
}

}  // namespace
}  // namespace wevora
