#include "Hosts/Common/SidebarView.h"

#include <vector>

#include <gtest/gtest.h>

#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {
namespace {

using platform::Class;
using platform::Id;
using platform::ImageRef;
using platform::Implementation;
using platform::send;

constexpr const char* kWillDisplay = "outlineView:willDisplayCell:forTableColumn:item:";

class Row : public SidebarRow {
 public:
  Row(Class& isa, std::optional<std::string> name) : SidebarRow(isa), name_(std::move(name)) {}
  std::optional<std::string> name() const override { return name_; }
  void setImage(const platform::Image& image) override { images.push_back(&image); }

  std::vector<const platform::Image*> images;

 private:
  const std::optional<std::string> name_;
};

class SidebarViewTest : public testing::Test {
 protected:
  std::shared_ptr<Row> row(std::optional<std::string> name = "Place") const {
    return std::make_shared<Row>(classes.rows(), std::move(name));
  }
  /// A delegate that records its arguments.
  Id listener() {
    auto own = runtime.registerClass("Listener");
    own->addMethod(
        kWillDisplay,
        Implementation::of<void(Id, Id, Id, Id)>(
            [this](const Id&, const Id& view, const Id& cell, const Id& column, const Id& item) {
              received = {view, cell, column, item};
            }),
        "v@:@@@@");
    return std::make_shared<platform::Object>(*own);
  }
  Id sidebarImageOf(const ImageRef& image) const {
    return send<Id>(send<Id>(Id(runtime.classNamed("NSSidebarImage")), "alloc"),
                    "initWithSourceImage:", image);
  }

  platform::Runtime runtime;
  std::shared_ptr<Class> views = View::registerIn(runtime);
  const SidebarClasses classes{runtime, *views};
  std::vector<Id> received;
};

TEST_F(SidebarViewTest, ASidebarIsCreatedWithADelegateOfItsHost) {
  const auto sidebar = classes.make(nullptr);
  const Id delegate = send<Id>(Id(sidebar), "delegate");
  ASSERT_TRUE(delegate);
  EXPECT_TRUE(delegate->respondsToSelector(kWillDisplay));
}

TEST_F(SidebarViewTest, ASidebarIsAViewThatCanBeRedrawn) {
  int redraws = 0;
  const Id sidebar = classes.make([&] { ++redraws; });
  EXPECT_TRUE(sidebar->isKindOf(views.get()));
  send<void>(sidebar, "setNeedsDisplay:", true);
  EXPECT_EQ(redraws, 1);
}

TEST_F(SidebarViewTest, TheDelegateReceivesARowAsCellAndAsItem) {
  const auto sidebar = classes.make(nullptr);
  send<void>(Id(sidebar), "setDelegate:", listener());
  const auto one = row();
  SidebarClasses::willDisplay(sidebar, one);
  EXPECT_EQ(received, (std::vector<Id>{sidebar, one, nullptr, one}));
}

TEST_F(SidebarViewTest, TheHostsDelegateOutlivesItsReplacementByAProxy) {
  const auto sidebar = classes.make(nullptr);
  const std::weak_ptr<platform::Object> before = send<Id>(Id(sidebar), "delegate");
  send<void>(Id(sidebar), "setDelegate:", listener());
  EXPECT_FALSE(before.expired());
}

TEST_F(SidebarViewTest, WithoutARespondingDelegateNothingIsNotified) {
  const auto sidebar = classes.make(nullptr);
  const auto one = row();
  send<void>(Id(sidebar), "setDelegate:", Id());
  SidebarClasses::willDisplay(sidebar, one);
  const auto unresponsive = runtime.registerClass("Unresponsive");
  send<void>(Id(sidebar), "setDelegate:", Id(std::make_shared<platform::Object>(*unresponsive)));
  SidebarClasses::willDisplay(sidebar, one);
  EXPECT_TRUE(one->images.empty());
}

TEST_F(SidebarViewTest, ARowReturnsItsNameIfItHasOne) {
  EXPECT_EQ(send<std::optional<std::string>>(Id(row("(w) Drive")), "name"), "(w) Drive");
  EXPECT_EQ(send<std::optional<std::string>>(Id(row(std::nullopt)), "name"), std::nullopt);
}

TEST_F(SidebarViewTest, ARowAcceptsASidebarImage) {
  const auto image = std::make_shared<platform::Image>();
  const auto one = row();
  send<void>(Id(one), "setImage:", sidebarImageOf(image));
  EXPECT_EQ(one->images, std::vector<const platform::Image*>{image.get()});
}

TEST_F(SidebarViewTest, ARowIgnoresAMissingOrInvalidImage) {
  const auto one = row();
  send<void>(Id(one), "setImage:", Id());
  send<void>(Id(one), "setImage:", sidebarImageOf(nullptr));
  send<void>(Id(one), "setImage:", Id(std::make_shared<View>(*views, nullptr)));
  EXPECT_TRUE(one->images.empty());
}

}  // namespace
}  // namespace wevora::hosts
