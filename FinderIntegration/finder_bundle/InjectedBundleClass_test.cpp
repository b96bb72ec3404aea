#include "FinderIntegration/finder_bundle/InjectedBundleClass.h"

#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/WVOutlineViewDelegate.h"
#include "Tests/PictureFiles/PictureFiles.h"
#include "Tests/PictureHost/BadgedHost.h"

namespace wevora {
namespace {

using platform::HostException;
using platform::Implementation;
using platform::send;
using testing_host::BadgedHost;
using testing_host::PictureHost;
using Versions = std::vector<std::vector<std::int32_t>>;
using Visits = std::vector<std::pair<Id, std::string>>;

/// Records each visited view and its level.
class RecordingPrincipal : public InjectedBundleClass {
 public:
  RecordingPrincipal(Services services, Visits& visited)
      : InjectedBundleClass(std::move(services)), visited_(visited) {}
  void investigateSideBarViewHierarchy(const Id& view,
                                       const std::optional<std::string>& level) const override {
    if (view) visited_.emplace_back(view, level.value_or("none"));
    InjectedBundleClass::investigateSideBarViewHierarchy(view, level);
  }

 private:
  Visits& visited_;
};

class InjectedBundleClassTest : public testing::Test {
 protected:
  Versions reported(const std::string& version) {
    badged.installed.setVersion(version);
    badged.versions.clear();
    principal().load();
    EXPECT_TRUE(badged.versions.empty()) << "only after the load hooks have returned";
    badged.engine.dispatch.runAll();
    return badged.versions;
  }
  RecordingPrincipal principal() {
    return RecordingPrincipal(
        {.runtime = host.runtime(),
         .mainQueue = badged.engine.dispatch.mainQueue(),
         .paths = badged.installed.paths,
         .setVersion =
             [this](std::int32_t major, std::int32_t minor, std::int32_t patch) {
               badged.versions.push_back({major, minor, patch});
             }},
        visited);
  }
  std::shared_ptr<testing_host::Sidebar> sidebar() {
    auto made = host.makeSidebar({});
    made->delegate = delegate;
    return made;
  }
  static bool isWrapped(const Id& view) {
    return std::dynamic_pointer_cast<WVOutlineViewDelegate>(send<Id>(view, "delegate")) != nullptr;
  }

  BadgedHost badged;
  PictureHost& host = badged.host;
  std::shared_ptr<testing_host::SidebarDelegate> delegate =
      host.makeDelegate(PictureHost::delegateSelectors());
  Visits visited;
};

// --- The version ---------------------------------------------------------------------------------

TEST_F(InjectedBundleClassTest, AVersionOfThreePartsIsReportedOnTheMainQueue) {
  EXPECT_EQ(reported("2.1.7"), (Versions{{2, 1, 7}}));
}

TEST_F(InjectedBundleClassTest, AVersionOfTwoOrFourPartsIsNotReported) {
  EXPECT_EQ(reported("2.1"), Versions());
  EXPECT_EQ(reported("2.1.7.4"), Versions());
  EXPECT_EQ(reported(""), Versions());
}

TEST_F(InjectedBundleClassTest, APartThatIsNotANumberIsReportedAsZero) {
  EXPECT_EQ(reported("a.b.c"), (Versions{{0, 0, 0}}));
  EXPECT_EQ(reported("..9"), (Versions{{0, 0, 9}}));
}

TEST_F(InjectedBundleClassTest, WithoutTheFileOrTheKeyNothingIsReportedAndLoadingContinues) {
  const auto open = sidebar();
  host.addWindow(1, open, nullptr);
  principal().load();
  badged.engine.dispatch.runAll();
  EXPECT_EQ(badged.versions, Versions());
  EXPECT_TRUE(isWrapped(open));
  testing_host::writeFile(badged.installed.contents + "Info.plist",
                          "<plist version=\"1.0\"><dict><key>a</key><string>1.2.3</string></dict>"
                          "</plist>");
  principal().load();
  badged.engine.dispatch.runAll();
  EXPECT_EQ(badged.versions, Versions());
}

// --- The sidebars --------------------------------------------------------------------------------

TEST_F(InjectedBundleClassTest, TheSetterHasItsDeclaredTypeEncoding) {
  principal().load();
  EXPECT_EQ(host.classNamed("TSidebarView")->instanceMethod("wvr_setDelegate:")->typeEncoding,
            "v:@");
}

TEST_F(InjectedBundleClassTest, SidebarsThatAreOpenAtLoadAreWrappedAndRedrawn) {
  const auto open = sidebar();
  host.addWindow(1, host.makeView({open}), nullptr);
  principal().load();
  EXPECT_TRUE(isWrapped(open));
  EXPECT_EQ(open->redraws, 1);
}

TEST_F(InjectedBundleClassTest, ASidebarCreatedLaterIsWrappedWhenItsDelegateIsSet) {
  principal().load();
  const auto later = host.makeSidebar({});
  send<void>(later, "setDelegate:", Id(delegate));
  EXPECT_TRUE(isWrapped(later));
}

TEST_F(InjectedBundleClassTest, ASidebarWithoutADelegateStaysWithoutOne) {
  const auto open = host.makeSidebar({});
  host.addWindow(1, open, nullptr);
  principal().load();
  EXPECT_EQ(open->delegatesSet, std::vector<bool>{false});
  EXPECT_EQ(open->redraws, 1);
}

TEST_F(InjectedBundleClassTest, TheWalkStopsAtTheFirstMissingWindow) {
  const std::vector<std::shared_ptr<testing_host::Sidebar>> open{sidebar(), sidebar(), sidebar()};
  host.addWindow(1, open[0], nullptr);
  host.addWindow(2, open[1], nullptr);
  host.addWindow(4, open[2], nullptr);
  principal().load();
  EXPECT_TRUE(isWrapped(open[0]));
  EXPECT_TRUE(isWrapped(open[1]));
  EXPECT_FALSE(isWrapped(open[2]));
}

TEST_F(InjectedBundleClassTest, ASidebarThreeLevelsDownIsReachedAtLevelFour) {
  const auto open = sidebar();
  const auto top = host.makeView({host.makeView({host.makeView({open})})});
  host.addWindow(1, top, nullptr);
  principal().load();
  ASSERT_EQ(visited.size(), 4U);
  EXPECT_EQ(visited.front(), (std::pair<Id, std::string>(top, "none")));
  EXPECT_EQ(visited[1].second, "##") << "a missing level is the first";
  EXPECT_EQ(visited.back(), (std::pair<Id, std::string>(open, "####")));
  EXPECT_TRUE(isWrapped(open));
}

TEST_F(InjectedBundleClassTest, TheWalkContinuesBelowASidebar) {
  const auto inner = sidebar();
  const auto outer = sidebar();
  outer->setInstanceVariable("subviews", std::vector<Id>{inner});
  host.addWindow(1, outer, nullptr);
  principal().load();
  EXPECT_TRUE(isWrapped(inner));
  EXPECT_TRUE(isWrapped(outer));
}

TEST_F(InjectedBundleClassTest, AWalkCanBeginAtAnyLevel) {
  principal().investigateSideBarViewHierarchy(host.makeView({host.makeView({})}), "##");
  ASSERT_EQ(visited.size(), 2U);
  EXPECT_EQ(visited[0].second, "##");
  EXPECT_EQ(visited[1].second, "###");
}

TEST_F(InjectedBundleClassTest, AnExceptionOfAViewEndsOnlyTheWalkBelowIt) {
  const auto raising =
      host.runtime().registerClass("TRaisingView", host.classNamed("NSView").get());
  raising->addMethod("subviews",
                     Implementation::of<std::vector<Id>()>(
                         [](const Id&) -> std::vector<Id> { throw HostException("no views"); }),
                     "@@:");
  const auto after = sidebar();
  const auto top = host.makeView({std::make_shared<testing_host::View>(*raising), after});
  host.addWindow(1, top, nullptr);
  principal().load();
  EXPECT_TRUE(isWrapped(after));
}

TEST_F(InjectedBundleClassTest, AnExceptionOfAWindowEndsOnlyTheWalkOfTheWindows) {
  const auto controllers = host.classNamed("TBrowserWindowController");
  controllers->addMethod("raise", Implementation::of<Id()>([](const Id&) -> Id {
                           throw HostException("no sidebar in this window");
                         }),
                         "@@:");
  controllers->exchangeImplementations("sidebarViewContainer", "raise");
  host.addWindow(1, sidebar(), nullptr);
  badged.installed.setVersion("1.2.3");
  EXPECT_NO_THROW(principal().load());
  badged.engine.dispatch.runAll();
  EXPECT_EQ(badged.versions, (Versions{{1, 2, 3}}));
  const auto later = host.makeSidebar({});
  send<void>(later, "setDelegate:", Id(delegate));
  EXPECT_TRUE(isWrapped(later)) << "the hook is installed";
}

TEST_F(InjectedBundleClassTest, ObserveWalksTheBrowserViewsOfTheWindowsTheSameWay) {
  const auto one = sidebar();
  const auto two = sidebar();
  const auto other = sidebar();
  host.addWindow(1, nullptr, host.makeView({one}));
  host.addWindow(2, other, two);
  const auto injected = principal();
  host.addWindow(4, nullptr, sidebar());
  injected.observe();
  ASSERT_EQ(visited.size(), 3U);
  EXPECT_EQ(visited[1], (std::pair<Id, std::string>(one, "##")));
  EXPECT_EQ(visited[2], (std::pair<Id, std::string>(two, "none")));
  EXPECT_EQ(one->redraws, 1);
  EXPECT_EQ(other->redraws, 0);
}

TEST(InjectedBundleClassMissingTest, WithoutSidebarsTheWindowsAreStillWalked) {
  auto classes = PictureHost::Classes();
  classes.sidebars = false;
  BadgedHost badged(classes);
  std::vector<Id> visits;
  const auto spies =
      badged.host.runtime().registerClass("TSpyView", badged.host.classNamed("NSView").get());
  spies->addMethod(
      "subviews", Implementation::of<std::vector<Id>()>([&](const Id& self) {
        visits.push_back(self);
        return self->instanceVariable<std::vector<Id>>("below").value_or(std::vector<Id>());
      }),
      "@@:");
  const auto inner = std::make_shared<testing_host::View>(*spies);
  const auto outer = std::make_shared<testing_host::View>(*spies);
  outer->setInstanceVariable("below", std::vector<Id>{inner});
  badged.host.addWindow(1, outer, nullptr);
  badged.host.addWindow(2, inner, nullptr);
  badged.load();
  EXPECT_EQ(visits, (std::vector<Id>{outer, inner, inner}));
}

TEST(InjectedBundleClassMissingTest, InAHostWithoutSidebarsAndWindowsTheVersionIsReported) {
  BadgedHost badged(PictureHost::Classes::none());
  badged.installed.setVersion("1.2.3");
  badged.load();
  badged.engine.dispatch.runAll();
  EXPECT_EQ(badged.versions, (Versions{{1, 2, 3}}));
}

}  // namespace
}  // namespace wevora
