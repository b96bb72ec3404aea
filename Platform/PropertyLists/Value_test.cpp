#include "Platform/PropertyLists/Value.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

TEST(ValueTest, NumbersAndTextsConvertToABoolean) {
  for (const Value& yes :
       {Value(true), Value(std::int64_t{-3}), Value(0.5), Value("YES"), Value(" +007"), Value("t")})
    EXPECT_TRUE(yes.boolValue());
  for (const Value& no :
       {Value(false), Value(std::int64_t{0}), Value(0.0), Value("no"), Value("000"), Value(""),
        Value("- 1"), Value(Array{true}), Value(Date{5})})
    EXPECT_FALSE(no.boolValue());
}

TEST(ValueTest, NumbersAndTextsConvertToAnInteger) {
  EXPECT_EQ(Value(true).longLongValue(), 1);
  EXPECT_EQ(Value(-2.9).longLongValue(), -2);
  EXPECT_EQ(Value(1e300).longLongValue(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(Value(-1e300).longLongValue(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(Value(std::numeric_limits<double>::quiet_NaN()).longLongValue(), 0);
  EXPECT_EQ(Value("12 apples").longLongValue(), 12);
  EXPECT_EQ(Value(Dictionary()).longLongValue(), 0);
}

TEST(ValueTest, ANumberBeyondTheSignedOnesKeepsItsBits) {
  constexpr auto kSmallest = std::uint64_t{1} << 63U;
  for (const auto number : {kSmallest, std::numeric_limits<std::uint64_t>::max()}) {
    EXPECT_EQ(Value(number).unsignedLongLongValue(), number);
    EXPECT_EQ(Value(std::to_string(number)).unsignedLongLongValue(), number);
    EXPECT_EQ(Value(number).longLongValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_TRUE(Value(number).boolValue());
  }
  EXPECT_EQ(Value(9223372036854775808.0).unsignedLongLongValue(), kSmallest);
  EXPECT_EQ(Value(1e300).unsignedLongLongValue(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(Value(std::int64_t{-1}).unsignedLongLongValue(), 0U);
  EXPECT_EQ(Value("-1").unsignedLongLongValue(), 0U);
  EXPECT_EQ(Value(-1e300).unsignedLongLongValue(), 0U);
  EXPECT_EQ(Value(kSmallest - 1), Value(std::numeric_limits<std::int64_t>::max()));
}

TEST(ValueTest, AValueOfAnotherTypeIsNull) {
  const Dictionary entries{{"a", Value("text")}};
  EXPECT_EQ(*valueAs<std::string>(entries, "a"), "text");
  EXPECT_EQ(valueAs<Array>(entries, "a"), nullptr);
  EXPECT_EQ(valueAs<std::string>(entries, "b"), nullptr);
}

TEST(ValueTest, TheTextsOfAnArrayLeaveOutOtherValues) {
  using Texts = std::vector<std::string>;
  const Dictionary entries{{"a", Array{"x", true, "", Array{"y"}, "x"}}, {"b", "text"}};
  EXPECT_EQ(textsIn(entries, "a"), (Texts{"x", "", "x"}));
  EXPECT_EQ(textsIn(entries, "b"), Texts());
  EXPECT_EQ(textsIn(entries, "c"), Texts());
  EXPECT_EQ(textsIn(Array{"z"}), Texts{"z"});
}

TEST(DictionaryTest, KeepsTheOrderInWhichKeysWereFirstSet) {
  Dictionary entries{{"b", Value(true)}, {"a", Value(std::int64_t{1})}};
  entries.set("b", Value("again"));
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries.begin()->first, "b");
  EXPECT_EQ(entries.begin()->second, Value("again"));
}

TEST(DictionaryTest, IsEqualInAnyOrder) {
  const Dictionary one{{"a", Value(true)}, {"b", Value("x")}};
  EXPECT_EQ(one, (Dictionary{{"b", Value("x")}, {"a", Value(true)}}));
  EXPECT_FALSE(one == (Dictionary{{"a", Value(true)}}));
  EXPECT_FALSE(one == (Dictionary{{"a", Value(true)}, {"b", Value("y")}}));
}

}  // namespace
}  // namespace wevora::platform
