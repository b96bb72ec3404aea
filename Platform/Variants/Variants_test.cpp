#include "Platform/Variants/Variants.h"

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

std::string typeOf(const VariantPtr& variant) {
  return variant ? g_variant_get_type_string(variant.get()) : "";
}

std::optional<Value> parsed(const char* text) {
  const VariantPtr variant(g_variant_parse(nullptr, text, nullptr, nullptr, nullptr));
  return valueOf(variant.get());
}

TEST(VariantsTest, ValuesComeBackAsTheyWent) {
  const Dictionary entries{{"flag", Value(true)},
                           {"number", Value(std::int64_t{-7})},
                           {"half", Value(0.5)},
                           {"text", Value("Zo\xC3\xAB")},
                           {"bytes", Value("\xFF\xFE/x")},
                           {"texts", Value(Array{"a", "b"})},
                           {"mixed", Value(Array{"a", "\xFF", std::int64_t{1}})},
                           {"empty", Value(Array{})},
                           {"below", Value(Dictionary{{"x", Value("y")}})}};
  EXPECT_EQ(*valueOf(variantOf(entries).get()), Value(entries));
}

TEST(VariantsTest, ADateTravelsAsSecondsSince1970) {
  EXPECT_EQ(*valueOf(variantOf(Value(Date{1.5})).get()), Value(1.5));
}

TEST(VariantsTest, EveryIntegerIsReadAndBounded) {
  for (const char* text : {"byte 7", "int16 7", "uint16 7", "int32 7", "uint32 7", "int64 7",
                           "uint64 7", "<uint32 7>"})
    EXPECT_EQ(*parsed(text), Value(std::int64_t{7})) << text;
  EXPECT_EQ(*parsed("uint64 18446744073709551615"), Value(G_MAXINT64));
}

TEST(VariantsTest, WhatHasNoCounterpartIsLeftOut) {
  EXPECT_FALSE(parsed("(1, 2)"));
  EXPECT_EQ(*parsed("[<(1, 2)>, <'a'>]"), Value(Array{"a"}));
  EXPECT_EQ(*parsed("{'a': <(1, 2)>, 'b': <'x'>}"), Value(Dictionary{{"b", Value("x")}}));
  EXPECT_FALSE(valueOf(nullptr));
}

TEST(VariantsTest, ASignatureGivesTheTypeOrNothing) {
  EXPECT_EQ(typeOf(variantOf(Value(std::int64_t{5000000000}), "i")), "i");
  EXPECT_EQ(typeOf(variantOf(Value(std::int64_t{-1}), "t")), "t");
  EXPECT_EQ(typeOf(variantOf(Value(true), "b")), "b");
  EXPECT_EQ(typeOf(variantOf(Value(Array{}), "as")), "as");
  EXPECT_EQ(typeOf(variantOf(Value(Array{}), "av")), "av");
  EXPECT_EQ(typeOf(variantOf(Value(Array{Dictionary{}}), "aa{sv}")), "aa{sv}");
  EXPECT_FALSE(variantOf(Value(Array{true}), "as"));
  EXPECT_FALSE(variantOf(Value(Array{true}), "aa{sv}"));
  EXPECT_FALSE(variantOf(Value("text"), "a{sv}"));
  EXPECT_FALSE(variantOf(Value("\xFF"), "s"));
  EXPECT_FALSE(variantOf(Value("text"), "no signature"));
}

}  // namespace
}  // namespace wevora::platform
