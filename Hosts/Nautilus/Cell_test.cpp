#include "Hosts/Nautilus/Cell.h"

#include <gtest/gtest.h>

#include "Platform/Graphics/GraphicsContext.h"

namespace wevora::nautilus {
namespace {

using platform::Id;
using platform::ImageRef;
using platform::send;

class CellTest : public testing::Test {
 protected:
  platform::Runtime runtime;
  hosts::Nodes nodes{runtime};
  std::shared_ptr<platform::Class> views = hosts::View::registerIn(runtime);
  std::shared_ptr<platform::Class> wrappers = hosts::ImageWrapper::registerIn(runtime);
  std::shared_ptr<platform::Class> cells = runtime.registerClass("IKIconCell");

  std::shared_ptr<Cell> cell() {
    return std::make_shared<Cell>(*cells, CellKind::Grid, nodes.make("file:///one"),
                                  std::make_shared<hosts::View>(*views, nullptr));
  }
  Id wrapperOf(const ImageRef& image) const {
    return send<Id>(send<Id>(Id(wrappers), "alloc"), "initWithNSImage:", image);
  }
};

TEST_F(CellTest, TheIconsImageHasNoTargetWhileTheCellIsNotDrawn) {
  const auto one = cell();
  one->thumbnail()->lockFocus();
  EXPECT_EQ(platform::GraphicsContext::currentContext(), nullptr);
  one->thumbnail()->unlockFocus();
}

TEST_F(CellTest, TheIconsImageHasNoTargetAfterItsCellIsDestroyed) {
  auto one = cell();
  const Id wrapper = wrapperOf(one->thumbnail());
  const std::weak_ptr<Cell> observed = one;
  one.reset();
  ASSERT_TRUE(observed.expired());
  const auto image = send<ImageRef>(wrapper, "_nsImage");
  image->lockFocus();
  EXPECT_EQ(platform::GraphicsContext::currentContext(), nullptr);
  image->unlockFocus();
}

TEST_F(CellTest, DrawingMessagesDoNothingWhileTheCellIsNotDrawn) {
  const auto one = cell();
  one->drawInteriorWithFrame({0, 0, 10, 10}, nullptr);
  one->drawIconWithFrame({0, 0, 10, 10});
  one->drawImage(wrapperOf(one->thumbnail()));
}

}  // namespace
}  // namespace wevora::nautilus
