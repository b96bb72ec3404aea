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

/// The tools in a recording host, in virtual time.
struct ToolsInHost {
  ToolsInHost() : ToolsInHost(RecordingHost::Classes{}) {}
  explicit ToolsInHost(RecordingHost::Classes classes) : host(classes) {}

  RecordingHost host;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  WVFinderTools tools{host.runtime, dispatch.mainQueue(), clock};

  void run() { dispatch.runAll(); }
  /// Reloads the desktop and resets the counter.
  void reloadOnce() {
    tools.updateDesktopForce(false);
    run();
    host.desktopReloads = 0;
  }
};

TEST(UpdateWindows, RedrawsTheViewOfEveryBrowserWindowOnTheMainQueue) {
  ToolsInHost in;
  const auto first = in.host.addBrowserWindow({"/a"});
  const auto second = in.host.addBrowserWindow({});
  in.tools.updateWindows();
  EXPECT_EQ(first->view->redraws, 0);
  in.run();
  EXPECT_EQ(first->view->redraws, 1);
  EXPECT_EQ(second->view->redraws, 1);
  EXPECT_EQ(first->items[0].controlView->redraws, 0);
}

TEST(UpdateWindows, SkipsAWindowThatIsNotABrowserWindow) {
  ToolsInHost in;
  const auto panel = in.host.addInformationPanel();
  const auto browser = in.host.addBrowserWindow({});
  in.tools.updateWindows();
  in.run();
  EXPECT_EQ(panel->redraws, 0);
  EXPECT_EQ(browser->view->redraws, 1);
}

TEST(UpdateWindows, SkipsTheRestOfThePassWhenTheHostRaisesAnException) {
  ToolsInHost in;
  const auto before = in.host.addBrowserWindow({});
  in.host.addRaisingWindow();
  const auto after = in.host.addBrowserWindow({});
  in.tools.updateWindows();
  in.run();
  EXPECT_EQ(before->view->redraws, 1);
  EXPECT_EQ(after->view->redraws, 0);
}

TEST(UpdateWindows, IsCalledTwoSecondsAfterTheBundleIsLoaded) {
  ToolsInHost in;
  const auto browser = in.host.addBrowserWindow({});
  in.tools.load();
  in.dispatch.advance(1999ms);
  EXPECT_EQ(browser->view->redraws, 0);
  in.dispatch.advance(1ms);
  EXPECT_EQ(browser->view->redraws, 1);
}

TEST(UpdateNodesWithPath, RedrawsTheVisibleItemsThatAreListedAndNoOthers) {
  ToolsInHost in;
  const auto browser = in.host.addBrowserWindow({"/f/a", "/f/b"});
  in.tools.updateNodesWithPath({"/f/b", "/f/c"});
  in.run();
  EXPECT_EQ(browser->view->redraws, 1);
  EXPECT_EQ(browser->items[0].controlView->redraws, 0);
  EXPECT_EQ(browser->items[1].controlView->redraws, 1);
}

TEST(UpdateNodesWithPath, LowercasesOnlyTheItemsPathSoThatAListedPathWithCapitalsMatchesNothing) {
  ToolsInHost in;
  const auto browser = in.host.addBrowserWindow({"/F/\xC3\x89t\xC3\xA9", "/F/B"});
  in.tools.updateNodesWithPath({"/f/\xC3\xA9t\xC3\xA9", "/F/B"});
  in.run();
  EXPECT_EQ(browser->items[0].controlView->redraws, 1);
  EXPECT_EQ(browser->items[1].controlView->redraws, 0);
}

TEST(UpdateNodesWithPath, WithAnEmptyArrayStillRedrawsEveryBrowserView) {
  ToolsInHost in;
  const auto browser = in.host.addBrowserWindow({"/a"});
  in.tools.updateNodesWithPath({});
  in.run();
  EXPECT_EQ(browser->view->redraws, 1);
  EXPECT_EQ(browser->items[0].controlView->redraws, 0);
}

TEST(UpdateNodesWithPath, AnExceptionInOneWindowsItemsEndsThatWindowsPassOnly) {
  ToolsInHost in;
  const auto raising = in.host.addBrowserWindow({"/a"});
  raising->raises = true;
  const auto other = in.host.addBrowserWindow({"/a"});
  in.tools.updateNodesWithPath({"/a"});
  in.run();
  EXPECT_EQ(raising->items[0].controlView->redraws, 0);
  EXPECT_EQ(other->items[0].controlView->redraws, 1);
}

TEST(UpdateVisibleNodesWithPath, DoesNotQueryAnEmptyController) {
  ToolsInHost in;
  const auto browser = in.host.addBrowserWindow({});
  browser->raises = true;
  in.tools.updateVisibleNodesWithPath({"/a"}, browser);
  EXPECT_EQ(browser->view->redraws, 0);
}

TEST(UpdateDesktop, TheFirstRequestEverReloadsAtOnceInTheFixedOrder) {
  ToolsInHost in;
  in.tools.updateDesktopForce(false);
  in.run();
  EXPECT_EQ(in.host.calls,
            (std::vector<std::string>{"reloadData", "nodes", "updateNodes:", "inlinePreviewView"}));
  EXPECT_EQ(in.host.desktopUpdates, 1);
  EXPECT_EQ(in.host.desktopPreview->redraws, 1);
}

TEST(UpdateDesktop, TwiceWithinASecondAfterAReloadSchedulesOneDelayedReload) {
  ToolsInHost in;
  in.reloadOnce();
  in.dispatch.advance(500ms);
  in.tools.updateDesktopForce(false);
  in.dispatch.advance(400ms);
  in.tools.updateDesktopForce(false);
  in.dispatch.advance(1599ms);
  EXPECT_EQ(in.host.desktopReloads, 0);
  in.dispatch.advance(1ms);
  EXPECT_EQ(in.host.desktopReloads, 1);
  in.dispatch.advance(10s);
  EXPECT_EQ(in.host.desktopReloads, 1);
}

TEST(UpdateDesktop, ForcedRightAfterAReloadReloadsAtOnce) {
  ToolsInHost in;
  in.reloadOnce();
  in.tools.updateDesktopForce(true);
  in.run();
  EXPECT_EQ(in.host.desktopReloads, 1);
}

TEST(UpdateDesktop, ThreeSecondsAfterAReloadIsNotThrottledAnyMore) {
  ToolsInHost in;
  in.reloadOnce();
  in.dispatch.advance(2999ms);
  in.tools.updateDesktopForce(false);
  in.run();
  EXPECT_EQ(in.host.desktopReloads, 0);
  in.dispatch.advance(1ms);
  in.tools.updateDesktopForce(false);
  in.run();
  EXPECT_EQ(in.host.desktopReloads, 1);
}

TEST(UpdateDesktop, AForcedReloadDoesNotCancelTheDelayedOne) {
  ToolsInHost in;
  in.reloadOnce();
  in.tools.updateDesktopForce(false);
  in.tools.updateDesktopForce(true);
  in.run();
  EXPECT_EQ(in.host.desktopReloads, 1);
  in.dispatch.advance(2s);
  EXPECT_EQ(in.host.desktopReloads, 2);
}

TEST(UpdateDesktop, TheThrottleCountsADelayedReloadFromItsRequest) {
  ToolsInHost in;
  in.reloadOnce();
  in.dispatch.advance(1s);
  in.tools.updateDesktopForce(false);  // reloads 2 s later, when its request is 2 s old
  in.dispatch.advance(2s);
  EXPECT_EQ(in.host.desktopReloads, 1);
  in.dispatch.advance(1s);
  in.tools.updateDesktopForce(false);
  in.run();
  EXPECT_EQ(in.host.desktopReloads, 2);
}

TEST(UpdateDesktop, AfterTheDelayedReloadAnotherCanBePending) {
  ToolsInHost in;
  in.reloadOnce();
  for (int i = 0; i < 2; ++i) {
    in.tools.updateDesktopForce(false);
    in.dispatch.advance(2s);
  }
  EXPECT_EQ(in.host.desktopReloads, 2);
}

TEST(UpdateDesktop, AnExceptionOfTheHostDoesNotPreventLaterDelayedReloads) {
  ToolsInHost in;
  in.reloadOnce();
  in.host.desktopRaises = true;
  in.tools.updateDesktopForce(false);
  in.dispatch.advance(2s);
  in.host.desktopRaises = false;
  in.tools.updateDesktopForce(false);
  in.dispatch.advance(2s);
  EXPECT_EQ(in.host.desktopReloads, 1);
}

class BrokenClock : public platform::VirtualClock {
 public:
  platform::Date now() const override { throw std::runtime_error("no date"); }
};

TEST(UpdateDesktop, DropsTheRequestWhenTheClockThrows) {
  ToolsInHost in;
  const BrokenClock broken;
  WVFinderTools tools(in.host.runtime, in.dispatch.mainQueue(), broken);
  tools.updateDesktopForce(true);
  in.run();
  EXPECT_EQ(in.host.desktopReloads, 0);
}

TEST(WVFinderToolsTest, WithoutTheHostsClassesNothingIsDoneAndNothingFails) {
  ToolsInHost in({.windows = false, .browserControllers = false, .desktop = false, .nodes = false});
  const auto browser = in.host.addBrowserWindow({"/a"});
  in.tools.updateWindows();
  in.tools.updateNodesWithPath({"/a"});
  in.tools.updateVisibleNodesWithPath({"/a"}, browser);
  in.tools.updateDesktopForce(true);
  in.run();
  EXPECT_EQ(browser->view->redraws + browser->items[0].controlView->redraws, 0);
  EXPECT_EQ(in.host.desktopReloads, 0);
}

TEST(WVFinderToolsTest, WithoutTheBrowserControllersClassNoWindowIsABrowserWindow) {
  ToolsInHost in({.browserControllers = false});
  const auto browser = in.host.addBrowserWindow({"/a"});
  in.tools.updateWindows();
  in.run();
  EXPECT_EQ(browser->view->redraws, 0);
}

TEST(PathForNode, OfANullPointerIsNullopt) {
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
