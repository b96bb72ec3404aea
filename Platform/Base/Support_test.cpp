#include <stdexcept>

#include <gtest/gtest.h>

#include "Platform/Base/AssertionFailure.h"
#include "Platform/Base/EvictingCache.h"
#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

TEST(CatchAll, StopsEveryException) {
  bool reached = false;
  catchAll([&] {
    reached = true;
    throw std::runtime_error("from the body");
  });
  EXPECT_TRUE(reached);
  EXPECT_EQ(catchAllOr(7, []() -> int { throw 1; }), 7);
  EXPECT_EQ(catchAllOr(7, [] { return 8; }), 8);
}

TEST(ScopeExit, RunsWhenAnExceptionLeavesTheScope) {
  int calls = 0;
  catchAll([&] {
    const ScopeExit exit([&] { ++calls; });
    throw std::runtime_error("from the scope");
  });
  EXPECT_EQ(calls, 1);
}

TEST(AssertionFailureTest, CarriesItsMessageAndSourceLocation) {
  const AssertionFailure failure("broken", "Source", 12);
  EXPECT_STREQ(failure.what(), "broken");
  EXPECT_EQ(failure.source(), "Source");
  EXPECT_EQ(failure.line(), 12);
}

TEST(EvictingCacheTest, DropsItsEntriesWhenTheLimitIsReached) {
  EvictingCache cache(2);
  cache.store("a", "1");
  cache.store("b", "2");
  EXPECT_EQ(cache.find("a"), "1");
  cache.store("c", "3");
  EXPECT_EQ(cache.find("a"), std::nullopt);
  EXPECT_EQ(cache.find("c"), "3");
  cache.removeAll();
  EXPECT_EQ(cache.size(), 0U);
}

}  // namespace
}  // namespace wevora::platform
