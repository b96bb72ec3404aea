#include "Hosts/Common/BrowserWindows.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"
#include "Hosts/Common/View.h"
#include "Tests/Doubles/ManualDispatch.h"

namespace wevora::hosts {
namespace {

using platform::Id;
using platform::send;
using Numbers = std::vector<std::int64_t>;

/// A cell that counts the redraws of its view.
class Shown : public platform::Object {
 public:
  Shown(platform::Class& isa, platform::Class& views)
      : Object(isa), view(std::make_shared<View>(views, [this] { ++redraws; })) {}
  int redraws = 0;
  const std::shared_ptr<View> view;
};

/// A fake host with two windows, 3 and 8.
class BrowserWindowsTest : public testing::Test, public WindowSource {
 protected:
  BrowserWindowsTest() {
    cells_->addMethod("controlView", platform::Implementation::of<Id()>([](const Id& self) {
                        return Id(static_cast<const Shown&>(*self).view);
                      }),
                      "@@:");
  }

  Numbers windows() const override { return open; }
  std::vector<VisibleCell> visibleCells(std::int64_t window) const override {
    const auto found = cells.find(window);
    return found == cells.end() ? std::vector<VisibleCell>() : found->second;
  }
  std::vector<Id> sidebars(std::int64_t window) const override {
    return window == 3 ? std::vector<Id>{sidebar} : std::vector<Id>{};
  }
  void redraw(std::int64_t window) override { redrawn.push_back(window); }

  std::shared_ptr<Shown> show(std::int64_t window, const std::string& uri) {
    auto shown = std::make_shared<Shown>(*cells_, *views);
    cells[window].push_back({nodes.make(uri), shown});
    return shown;
  }
  Id windowNumbered(std::int64_t number) const {
    const Id application = send<Id>(Id(runtime.classNamed("NSApplication")), "sharedApplication");
    return send<Id>(application, "windowWithWindowNumber:", number);
  }
  Id controllerOf(std::int64_t window) const {
    return send<Id>(windowNumbered(window), "windowController");
  }
  Id controllerWithID(std::int64_t id) const {
    return send<Id>(Id(runtime.classNamed("TBrowserWindowController")), "controllerWithID:", id);
  }
  Id browserOf(std::int64_t window) const {
    return send<Id>(controllerOf(window), "browserViewController");
  }
  /// The windows that are redrawn when the controller's browser view is redrawn.
  Numbers windowsBehind(const Id& controller) {
    redrawn.clear();
    send<void>(send<Id>(send<Id>(controller, "browserViewController"), "browserView"),
               "setNeedsDisplay:", true);
    return std::exchange(redrawn, {});
  }

  platform::Runtime runtime;
  Nodes nodes{runtime};
  std::shared_ptr<platform::Class> views = View::registerIn(runtime);
  Numbers open = {3, 8};
  std::map<std::int64_t, std::vector<VisibleCell>> cells;
  Id sidebar = std::make_shared<View>(*views, nullptr);
  Numbers redrawn;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  WVFinderTools tools{runtime, dispatch.mainQueue(), clock};
  const BrowserWindows browserWindows{runtime, *views, *this};

 private:
  std::shared_ptr<platform::Class> cells_ = runtime.registerClass("ShownItem");
};

TEST_F(BrowserWindowsTest, TheBundleRedrawsEveryWindow) {
  tools.updateWindows();
  dispatch.runAll();
  EXPECT_EQ(redrawn, (Numbers{3, 8}));
}

TEST_F(BrowserWindowsTest, WithoutWindowsTheBundleRedrawsNothing) {
  open.clear();
  tools.updateWindows();
  dispatch.runAll();
  EXPECT_TRUE(redrawn.empty());
}

TEST_F(BrowserWindowsTest, TheBundleRedrawsTheItemsThatItNamesInEveryWindow) {
  const auto named = show(3, "file:///a/one");
  const auto other = show(3, "file:///a/two");
  const auto again = show(8, "file:///a/one");
  tools.updateNodesWithPath({"/a/one"});
  dispatch.runAll();
  EXPECT_EQ(named->redraws, 1);
  EXPECT_EQ(other->redraws, 0);
  EXPECT_EQ(again->redraws, 1);
  EXPECT_EQ(redrawn, (Numbers{3, 8}));
}

TEST_F(BrowserWindowsTest, AnItemWithoutAPathIsSkipped) {
  const auto nowhere = show(3, "trash:///one");
  const auto named = show(3, "file:///one");
  tools.updateNodesWithPath({"/one"});
  dispatch.runAll();
  EXPECT_EQ(nowhere->redraws, 0);
  EXPECT_EQ(named->redraws, 1);
}

TEST_F(BrowserWindowsTest, AWindowIsFoundByItsNumberWhileItIsOpen) {
  EXPECT_TRUE(windowNumbered(8));
  EXPECT_FALSE(windowNumbered(4));
  open = {3};
  EXPECT_FALSE(windowNumbered(8));
}

TEST_F(BrowserWindowsTest, AWindowsControllerIsABrowserWindowController) {
  const Id controller = controllerOf(3);
  ASSERT_TRUE(controller);
  EXPECT_TRUE(controller->isKindOf(runtime.classNamed("TBrowserWindowController").get()));
  EXPECT_TRUE(controller->isKindOf(runtime.classNamed("NSWindowController").get()));
  EXPECT_EQ(windowsBehind(controller), (Numbers{3}));
}

TEST_F(BrowserWindowsTest, ControllersAreNumberedFromOneInTheOrderOfTheirWindows) {
  EXPECT_EQ(windowsBehind(controllerWithID(1)), (Numbers{3}));
  EXPECT_EQ(windowsBehind(controllerWithID(2)), (Numbers{8}));
  for (const std::int64_t none : {-1, 0, 3}) EXPECT_FALSE(controllerWithID(none)) << none;
}

TEST_F(BrowserWindowsTest, ABrowserReturnsTheVisibleItems) {
  show(3, "file:///one");
  show(3, "file:///two");
  EXPECT_EQ(send<std::uint64_t>(browserOf(3), "itemCount"), 2U);
  EXPECT_EQ(send<std::uint64_t>(browserOf(8), "itemCount"), 0U);
  TFENodeVector seen;
  send<void>(browserOf(3), "getVisibleNodes:", &seen);
  ASSERT_EQ(seen.size(), 2U);
  EXPECT_EQ(seen[0], *cells[3][0].node->reference());
  EXPECT_EQ(seen[1], *cells[3][1].node->reference());
}

TEST_F(BrowserWindowsTest, ANodesCellIsFoundInItsOwnWindowOnly) {
  const auto here = show(3, "file:///one");
  const auto there = show(8, "file:///one");
  const TFENode node = *cells[3][0].node->reference();
  EXPECT_EQ(send<Id>(browserOf(3), "getCellForNode:", node), here);
  EXPECT_FALSE(send<Id>(browserOf(8), "getCellForNode:", node));
  EXPECT_FALSE(send<Id>(browserOf(3), "getCellForNode:", TFENode{}));
}

TEST_F(BrowserWindowsTest, AWindowContainsItsSidebarsAndItsBrowserView) {
  const auto within = [&](std::int64_t window, const char* container) {
    return send<std::vector<Id>>(send<Id>(controllerOf(window), container), "subviews");
  };
  EXPECT_EQ(within(3, "sidebarViewContainer"), std::vector<Id>{sidebar});
  EXPECT_TRUE(within(8, "sidebarViewContainer").empty());
  const auto browserViews = within(8, "browserViewContainer");
  ASSERT_EQ(browserViews.size(), 1U);
  send<void>(browserViews[0], "setNeedsDisplay:", true);
  EXPECT_EQ(redrawn, (Numbers{8}));
}

TEST_F(BrowserWindowsTest, AClosedWindowHasNoItems) {
  show(8, "file:///one");
  const Id browser = browserOf(8);
  open = {3};
  cells.erase(8);
  EXPECT_EQ(send<std::uint64_t>(browser, "itemCount"), 0U);
  TFENodeVector seen;
  send<void>(browser, "getVisibleNodes:", &seen);
  EXPECT_TRUE(seen.empty());
}

TEST_F(BrowserWindowsTest, RegisteringANameThatIsTakenThrows) {
  for (const char* taken :
       {"NSApplication", "NSWindow", "TBrowserWindowController", "TBrowserViewController"}) {
    platform::Runtime other;
    other.registerClass(taken);
    EXPECT_THROW(BrowserWindows(other, *views, *this), platform::HostException) << taken;
  }
}

}  // namespace
}  // namespace wevora::hosts
