#include "FinderIntegration/finder_bundle/OperationQueue/WVPerformSelectorOperation.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace wevora {
namespace {

struct Target {
  void receive(const std::string& text) { received.push_back(text); }
  std::vector<std::string> received;
};

TEST(WVPerformSelectorOperationTest, SendsItsOwnCopyOfTheArgumentToTheTarget) {
  Target target;
  std::string text = "before";
  WVPerformSelectorOperation<Target, std::string> operation(target, &Target::receive, text);
  text = "after";
  operation.main();
  EXPECT_EQ(target.received, std::vector<std::string>{"before"});
}

}  // namespace
}  // namespace wevora
