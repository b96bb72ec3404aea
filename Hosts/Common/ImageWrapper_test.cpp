#include "Hosts/Common/ImageWrapper.h"

#include <gtest/gtest.h>

namespace wevora::hosts {
namespace {

using platform::Id;
using platform::ImageRef;
using platform::send;

class ImageWrapperTest : public testing::Test {
 protected:
  platform::Runtime runtime;
  std::shared_ptr<platform::Class> wrappers = ImageWrapper::registerIn(runtime);

  Id wrapperOf(const ImageRef& image) const {
    return send<Id>(send<Id>(Id(wrappers), "alloc"), "initWithNSImage:", image);
  }
};

TEST_F(ImageWrapperTest, AWrapperInUseIsNotReused) {
  const auto first = std::make_shared<platform::Image>();
  const auto second = std::make_shared<platform::Image>();
  const Id one = wrapperOf(first);
  const Id other = wrapperOf(second);
  EXPECT_EQ(send<ImageRef>(one, "_nsImage"), first);
  EXPECT_EQ(send<ImageRef>(other, "_nsImage"), second);
}

TEST_F(ImageWrapperTest, AReleasedWrapperIsReusedWithoutItsImage) {
  const auto* before = wrapperOf(std::make_shared<platform::Image>()).get();
  const Id again = send<Id>(Id(wrappers), "alloc");
  EXPECT_EQ(again.get(), before);
  EXPECT_EQ(send<ImageRef>(again, "_nsImage"), nullptr);
}

}  // namespace
}  // namespace wevora::hosts
