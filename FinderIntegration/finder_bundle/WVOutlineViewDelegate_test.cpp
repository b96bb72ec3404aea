#include "FinderIntegration/finder_bundle/WVOutlineViewDelegate.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "Platform/Graphics/GraphicsContext.h"
#include "Tests/PictureFiles/PictureFiles.h"
#include "Tests/PictureHost/BadgedHost.h"

namespace wevora {
namespace {

using platform::Implementation;
using platform::send;
using testing_host::BadgedHost;
using testing_host::PictureHost;

constexpr const char* kWillDisplay = "outlineView:willDisplayCell:forTableColumn:item:";
constexpr const char* kHeight = "outlineView:heightOfRowByItem:";

class OutlineViewDelegateTest : public testing::Test {
 protected:
  OutlineViewDelegateTest() { badged.load(); }
  std::shared_ptr<WVOutlineViewDelegate> proxyOf(const Id& view) {
    return std::dynamic_pointer_cast<WVOutlineViewDelegate>(send<Id>(view, "delegate"));
  }
  std::ptrdiff_t count(const std::string& event) {
    return std::count(host.events.begin(), host.events.end(), event);
  }
  /// A sidebar with these rows and a delegate that implements every selector.
  std::shared_ptr<testing_host::Sidebar> sidebarOf(const std::vector<std::string>& names) {
    auto sidebar = host.makeSidebar(names);
    send<void>(sidebar, "setDelegate:", Id(delegate));
    return sidebar;
  }
  BadgedHost badged;
  PictureHost& host = badged.host;
  std::shared_ptr<testing_host::SidebarDelegate> delegate =
      host.makeDelegate(PictureHost::delegateSelectors());
};

// --- The drive's row -----------------------------------------------------------------------------

TEST_F(OutlineViewDelegateTest, TheDriveGetsItsImageByEitherOfItsNames) {
  const auto rows = host.draw(sidebarOf({"wDrive", "(w) Drive", "Documents"}));
  EXPECT_TRUE(rows[0].picture);
  EXPECT_TRUE(rows[1].picture);
  EXPECT_FALSE(rows[2].picture);
}

TEST_F(OutlineViewDelegateTest, TheNamesOfTheDriveAreCaseSensitive) {
  for (const auto& row :
       host.draw(sidebarOf({"wdrive", "WDrive", "(W) Drive", "(w) drive", " wDrive", "wDrive "})))
    EXPECT_FALSE(row.picture);
}

TEST_F(OutlineViewDelegateTest, AnItemWithoutANameIsUnchanged) {
  const auto sidebar = sidebarOf({"wDrive"});
  sidebar->items = {host.recording.makeView()};
  EXPECT_FALSE(host.draw(sidebar)[0].picture);
  EXPECT_EQ(count(kWillDisplay), 1);
}

TEST_F(OutlineViewDelegateTest, TheImageHas32By32PointsAndEveryRepresentationOfTheFile) {
  const auto rows = host.draw(sidebarOf({"wDrive"}));
  ASSERT_TRUE(rows[0].picture);
  EXPECT_EQ(rows[0].picture->size(), (platform::Size{32, 32}));
  ASSERT_EQ(rows[0].picture->representations().size(), 2U);
  EXPECT_EQ(rows[0].picture->representations()[1].bitmap->width(), 64U);
  EXPECT_EQ(rows[0].picture->representations()[0].bitmap->pixels().front(),
            testing_host::kSidebar.upper);
}

TEST_F(OutlineViewDelegateTest, TheHostPreparesTheCellBeforeItsImageIsReplaced) {
  host.draw(sidebarOf({"(w) Drive"}));
  EXPECT_EQ(host.events, (std::vector<std::string>{kHeight, kWillDisplay, "setImage:"}));
}

TEST_F(OutlineViewDelegateTest, OtherRowsAreUnchanged) {
  host.draw(sidebarOf({"Documents"}));
  EXPECT_EQ(host.events, (std::vector<std::string>{kHeight, kWillDisplay}));
}

TEST_F(OutlineViewDelegateTest, TheImageFileIsReadAtEachDrawing) {
  const auto sidebar = sidebarOf({"wDrive"});
  const auto first = host.draw(sidebar)[0].picture;
  testing_host::writeTiff(badged.installed.contents + "Resources/sidebar.tiff",
                          {{testing_host::twoHalves(16, 16, 0xFF111111, 0xFF222222), 72}});
  const auto second = host.draw(sidebar)[0].picture;
  EXPECT_NE(first, second);
  ASSERT_EQ(second->representations().size(), 1U);
  EXPECT_EQ(second->representations()[0].bitmap->width(), 16U);
}

TEST_F(OutlineViewDelegateTest, AMissingImageFileLeavesAnEmptyImage) {
  badged.installed.removePicture("sidebar.tiff");
  const auto rows = host.draw(sidebarOf({"wDrive"}));
  ASSERT_TRUE(rows[0].picture);
  EXPECT_TRUE(rows[0].picture->representations().empty());
  EXPECT_EQ(rows[0].picture->size(), (platform::Size{32, 32}));
}

TEST(OutlineViewDelegateMissingTest, WithoutAnInstalledBundleAnEmptyImageIsSet) {
  BadgedHost badged({}, false);
  std::filesystem::remove_all(badged.installed.contents);
  badged.load();
  const auto sidebar = badged.host.makeSidebar({"wDrive"});
  const auto delegate = badged.host.makeDelegate({kWillDisplay});
  send<void>(sidebar, "setDelegate:", Id(delegate));
  const auto rows = badged.host.draw(sidebar);
  ASSERT_TRUE(rows[0].picture);
  EXPECT_TRUE(rows[0].picture->representations().empty());
}

TEST(OutlineViewDelegateMissingTest, TheBundleIsOpenedBeforeTheHostPreparesTheCell) {
  BadgedHost badged({}, false);
  std::filesystem::remove_all(badged.installed.contents);
  std::filesystem::remove(
      badged.installed.paths.translate("/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle"));
  badged.load();
  const auto installing = badged.host.runtime().registerClass("TInstallingDelegate");
  installing->addMethod(
      kWillDisplay,
      Implementation::of<void(Id, Id, Id, Id)>(
          [&](const Id&, const Id&, const Id&, const Id&, const Id&) {
            std::filesystem::create_directories(badged.installed.contents + "Resources");
            badged.installed.addPictures();
          }),
      "v@:@@@@");
  const auto sidebar = badged.host.makeSidebar({"wDrive"});
  const Id delegate = std::make_shared<platform::Object>(*installing);
  send<void>(sidebar, "setDelegate:", delegate);
  EXPECT_TRUE(badged.host.draw(sidebar)[0].picture->representations().empty());
  EXPECT_EQ(badged.host.draw(sidebar)[0].picture->representations().size(), 2U);
}

TEST(OutlineViewDelegateMissingTest, WithoutTheHostsSidebarImageClassTheCellGetsANullImage) {
  auto classes = PictureHost::Classes();
  classes.sidebarImages = false;
  BadgedHost badged(classes);
  badged.load();
  const auto sidebar = badged.host.makeSidebar({"wDrive"});
  const auto delegate = badged.host.makeDelegate(PictureHost::delegateSelectors());
  send<void>(sidebar, "setDelegate:", Id(delegate));
  EXPECT_EQ(badged.host.draw(sidebar)[0].picture, nullptr);
  EXPECT_EQ(badged.host.events, (std::vector<std::string>{kHeight, kWillDisplay, "setImage:"}));
}

// --- Setting a delegate --------------------------------------------------------------------------

TEST_F(OutlineViewDelegateTest, ADelegateIsWrappedInAProxyForItsView) {
  const auto sidebar = sidebarOf({});
  const auto proxy = proxyOf(sidebar);
  ASSERT_TRUE(proxy);
  EXPECT_EQ(proxy->realDelegate(), delegate);
  EXPECT_EQ(proxy->view(), sidebar);
  EXPECT_EQ(send<Id>(proxy, "realDelegate"), Id(delegate));
  EXPECT_EQ(send<Id>(proxy, "view"), Id(sidebar));
}

TEST_F(OutlineViewDelegateTest, ANullDelegateIsPassedThroughWithoutAProxy) {
  const auto sidebar = host.makeSidebar({});
  send<void>(sidebar, "setDelegate:", Id());
  EXPECT_EQ(sidebar->delegatesSet, std::vector<bool>{false});
  EXPECT_EQ(send<Id>(sidebar, "delegate"), nullptr);
}

TEST_F(OutlineViewDelegateTest, SettingAViewsDelegateToItsProxyWrapsTheProxyInASecondOne) {
  const auto sidebar = sidebarOf({"wDrive"});
  const auto first = proxyOf(sidebar);
  send<void>(sidebar, "setDelegate:", Id(first));
  const auto second = proxyOf(sidebar);
  EXPECT_NE(first, second);
  EXPECT_EQ(second->realDelegate(), first);
  EXPECT_EQ(first->realDelegate(), delegate);
}

TEST_F(OutlineViewDelegateTest, TwoProxiesSetTheDrivesImageTwiceAfterTheHostPreparedTheCellOnce) {
  const auto sidebar = sidebarOf({"wDrive"});
  send<void>(sidebar, "setDelegate:", Id(proxyOf(sidebar)));
  const auto rows = host.draw(sidebar);
  EXPECT_TRUE(rows[0].picture);
  EXPECT_EQ(host.events,
            (std::vector<std::string>{kHeight, kWillDisplay, "setImage:", "setImage:"}));
}

TEST_F(OutlineViewDelegateTest, AProxyLivesAsLongAsItsView) {
  auto sidebar = sidebarOf({"wDrive"});
  const std::weak_ptr<WVOutlineViewDelegate> proxy = proxyOf(sidebar);
  EXPECT_FALSE(proxy.expired());
  sidebar.reset();
  EXPECT_TRUE(proxy.expired());
}

TEST_F(OutlineViewDelegateTest, AProxyOwnsNeitherItsDelegateNorItsView) {
  const auto sidebar = sidebarOf({"wDrive"});
  const auto proxy = proxyOf(sidebar);
  EXPECT_EQ(delegate.use_count(), 1);
  delegate.reset();
  EXPECT_EQ(proxy->realDelegate(), nullptr);
  EXPECT_FALSE(proxy->respondsToSelector(kWillDisplay));
}

TEST_F(OutlineViewDelegateTest, ADestroyedProxyLeavesItsViewWithoutADelegate) {
  const auto sidebar = host.makeSidebar({});
  auto proxy = WVOutlineViewDelegate::make(host.runtime());
  proxy->setRealDelegate(delegate);
  proxy->setView(sidebar);
  proxy.reset();
  EXPECT_EQ(sidebar->delegatesSet, std::vector<bool>{false}) << "through the host's own setter";
}

TEST_F(OutlineViewDelegateTest, TheAccessorsOfAProxyCanBeCalledByMessage) {
  const auto sidebar = host.makeSidebar({});
  const auto proxy = WVOutlineViewDelegate::make(host.runtime());
  send<void>(proxy, "setRealDelegate:", Id(delegate));
  send<void>(proxy, "setView:", Id(sidebar));
  EXPECT_EQ(proxy->realDelegate(), delegate);
  EXPECT_EQ(proxy->view(), sidebar);
}

// --- Forwarding ----------------------------------------------------------------------------------

TEST_F(OutlineViewDelegateTest, TheOtherFourMethodsAreForwardedAndTheirResultsReturned) {
  const auto sidebar = sidebarOf({"wDrive"});
  const Id proxy = proxyOf(sidebar);
  const Id item = sidebar->items[0];
  EXPECT_EQ(send<Id>(proxy, "outlineView:dataCellForTableColumn:item:", Id(sidebar), Id(), item),
            item);
  EXPECT_EQ(send<Id>(proxy, "outlineView:viewForTableColumn:item:", Id(sidebar), Id(), item), item);
  EXPECT_TRUE(send<bool>(proxy, "outlineView:isGroupItem:", Id(sidebar), item));
  EXPECT_DOUBLE_EQ(send<double>(proxy, kHeight, Id(sidebar), item), 37.5);
  EXPECT_EQ(delegate->calls.size(), 4U);
}

TEST_F(OutlineViewDelegateTest, TheHeightsOfRowsAreTheRealDelegates) {
  EXPECT_DOUBLE_EQ(host.draw(sidebarOf({"wDrive"}))[0].height, 37.5);
}

TEST_F(OutlineViewDelegateTest, ADelegateWithoutHeightsLeavesTheDefaultHeight) {
  const auto sidebar = host.makeSidebar({"wDrive"});
  const auto partial = host.makeDelegate({kWillDisplay});
  send<void>(sidebar, "setDelegate:", Id(partial));
  const auto rows = host.draw(sidebar);
  EXPECT_FALSE(proxyOf(sidebar)->respondsToSelector(kHeight));
  EXPECT_DOUBLE_EQ(rows[0].height, PictureHost::kRowHeight);
  EXPECT_TRUE(rows[0].picture);
}

TEST_F(OutlineViewDelegateTest, ADelegateThatPreparesNoCellsGetsNoImageForTheDrive) {
  const auto sidebar = host.makeSidebar({"wDrive"});
  const auto partial = host.makeDelegate({kHeight});
  send<void>(sidebar, "setDelegate:", Id(partial));
  EXPECT_FALSE(proxyOf(sidebar)->respondsToSelector(kWillDisplay));
  EXPECT_FALSE(host.draw(sidebar)[0].picture);
}

TEST_F(OutlineViewDelegateTest, AProxyRespondsExactlyToTheSelectorsOfTheRealDelegate) {
  const auto other = host.makeDelegate({"outlineView:somethingElse:"});
  const auto proxy = WVOutlineViewDelegate::make(host.runtime());
  EXPECT_FALSE(proxy->respondsToSelector(kWillDisplay));
  proxy->setRealDelegate(other);
  EXPECT_TRUE(proxy->respondsToSelector("outlineView:somethingElse:"));
  EXPECT_FALSE(proxy->respondsToSelector(kWillDisplay));
  EXPECT_FALSE(proxy->respondsToSelector("wvr_setDelegate:"));
}

TEST_F(OutlineViewDelegateTest, SignaturesAreTheRealDelegates) {
  const auto proxy = proxyOf(sidebarOf({}));
  EXPECT_EQ(WVOutlineViewDelegate::make(host.runtime())->methodSignatureForSelector(kHeight),
            std::nullopt);
  const auto alone = WVOutlineViewDelegate::make(host.runtime());
  alone->setRealDelegate(delegate);
  EXPECT_EQ(alone->methodSignatureForSelector(kHeight), std::string("types of ") + kHeight);
  EXPECT_EQ(alone->methodSignatureForSelector("absent:"), std::nullopt);
}

TEST_F(OutlineViewDelegateTest, AMessageUnknownToTheProxyReachesTheRealDelegate) {
  const auto other = host.makeDelegate({"echo:"});
  const auto proxy = WVOutlineViewDelegate::make(host.runtime());
  proxy->setRealDelegate(other);
  EXPECT_EQ(send<std::string>(proxy, "echo:", std::string("a word")), "echo a word");
  EXPECT_EQ(other->calls, std::vector<std::string>{"echo:"});
}

TEST_F(OutlineViewDelegateTest, AMessageUnknownToTheRealDelegateIsDroppedAndReturnsZero) {
  const auto sidebar = host.makeSidebar({"wDrive"});
  const auto partial = host.makeDelegate({});
  const auto proxy = WVOutlineViewDelegate::make(host.runtime());
  proxy->setRealDelegate(partial);
  EXPECT_EQ(send<std::int64_t>(proxy, "count:", Id()), 0);
  EXPECT_DOUBLE_EQ(send<double>(proxy, kHeight, Id(sidebar), sidebar->items[0]), 0.0);
  EXPECT_FALSE(send<bool>(proxy, "outlineView:isGroupItem:", Id(sidebar), sidebar->items[0]));
  EXPECT_NO_THROW(send<void>(proxy, "absent"));
  proxy->setRealDelegate(nullptr);
  EXPECT_NO_THROW(send<void>(proxy, "absent"));
}

}  // namespace
}  // namespace wevora
