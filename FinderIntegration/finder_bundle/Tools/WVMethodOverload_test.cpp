#include "FinderIntegration/finder_bundle/Tools/WVMethodOverload.h"

#include <gtest/gtest.h>

namespace wevora {
namespace {

using platform::Class;
using platform::Id;
using platform::Implementation;
using platform::Object;
using platform::Runtime;
using platform::send;

Implementation returning(const std::string& text) {
  return Implementation::of<std::string()>([text](const Id&) { return text; });
}

class MethodOverloadTest : public testing::Test {
 protected:
  MethodOverloadTest() {
    target->addMethod("draw", returning("the host's"), "@@:");
    source->addMethod("wv_draw", Implementation::of<std::string()>([](const Id& self) {
                        return "new over " + send<std::string>(self, "wv_draw");
                      }),
                      "@@:");
  }
  bool overload() {
    return WVMethodOverload::overloadSelector("draw", target.get(), "wv_draw", source.get(), "@16");
  }
  Runtime runtime;
  std::shared_ptr<Class> target = runtime.registerClass("Target");
  std::shared_ptr<Class> source = runtime.registerClass("Source");
  Id object = std::make_shared<Object>(*target);
};

TEST_F(MethodOverloadTest, TheOldSelectorRunsTheNewCodeWhichCallsTheHostsByTheNewSelector) {
  EXPECT_TRUE(overload());
  EXPECT_EQ(send<std::string>(object, "draw"), "new over the host's");
}

TEST_F(MethodOverloadTest, TheNewMethodHasTheGivenTypeEncoding) {
  overload();
  EXPECT_EQ(target->instanceMethod("wv_draw")->typeEncoding, "@16");
}

TEST_F(MethodOverloadTest, AClassThatAlreadyHasTheNewMethodReturnsFalseAndExchangesTheTwo) {
  target->addMethod("wv_draw", returning("its own"), "@@:");
  EXPECT_FALSE(overload());
  EXPECT_EQ(send<std::string>(object, "draw"), "its own");
  EXPECT_EQ(send<std::string>(object, "wv_draw"), "the host's");
}

TEST_F(MethodOverloadTest, OverloadingTwiceRestoresTheHostsMethod) {
  overload();
  EXPECT_FALSE(overload());
  EXPECT_EQ(send<std::string>(object, "draw"), "the host's");
}

TEST_F(MethodOverloadTest, AMissingOldMethodLeavesTheNewOneAddedAndNothingExchanged) {
  EXPECT_TRUE(
      WVMethodOverload::overloadSelector("absent", target.get(), "wv_draw", source.get(), "@@:"));
  EXPECT_EQ(send<std::string>(object, "draw"), "the host's");
  EXPECT_TRUE(target->instanceMethod("wv_draw"));
}

TEST_F(MethodOverloadTest, AMissingClassDoesNothing) {
  EXPECT_FALSE(WVMethodOverload::overloadSelector("draw", nullptr, "wv_draw", source.get(), "@@:"));
  EXPECT_FALSE(WVMethodOverload::overloadSelector("draw", target.get(), "wv_draw", nullptr, "@@:"));
  EXPECT_EQ(send<std::string>(object, "draw"), "the host's");
}

}  // namespace
}  // namespace wevora
