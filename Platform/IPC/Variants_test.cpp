#include "Platform/IPC/Variants.h"

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

TEST(VariantsTest, ValuesSurviveARoundTrip) {
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

TEST(VariantsTest, DataSurvivesARoundTripWithAnyLastByte) {
  for (const auto& data :
       {Data{}, Data{std::byte{0}}, Data{std::byte{0xFF}, std::byte{0}},
        Data{std::byte{'a'}, std::byte{0}, std::byte{'b'}, std::byte{0}, std::byte{0}}}) {
    EXPECT_EQ(*valueOf(variantOf(Value(data)).get()), Value(data));
    const Dictionary entries{{"below", Array{Value(data), "text"}}};
    EXPECT_EQ(*valueOf(variantOf(entries).get()), Value(entries));
  }
}

TEST(VariantsTest, ATextKeepsItsNulBytes) {
  for (const auto& text :
       {std::string(1, '\0'), std::string("a\0b\0", 4), std::string("\xFF\0", 2)})
    EXPECT_EQ(*valueOf(variantOf(Value(text)).get()), Value(text));
  EXPECT_EQ(*parsed("b'/a'"), Value("/a"));
}

TEST(VariantsTest, ADateIsSentAsSecondsSince1970) {
  EXPECT_EQ(*valueOf(variantOf(Value(Date{1.5})).get()), Value(1.5));
}

TEST(VariantsTest, IntegersOfEveryTypeKeepAllBits) {
  for (const char* text : {"byte 7", "int16 7", "uint16 7", "int32 7", "uint32 7", "int64 7",
                           "uint64 7", "<uint32 7>"})
    EXPECT_EQ(*parsed(text), Value(std::int64_t{7})) << text;
  EXPECT_EQ(*parsed("int64 -9223372036854775808"), Value(G_MININT64));
  for (const auto number : {std::uint64_t{1} << 63U, std::uint64_t{G_MAXUINT64}}) {
    const Value value(number);
    EXPECT_EQ(*valueOf(variantOf(value).get()), value);
    EXPECT_EQ(*valueOf(variantOf(value, "t").get()), value);
    EXPECT_EQ(valueOf(variantOf(value, "t").get())->unsignedLongLongValue(), number);
  }
  EXPECT_EQ(typeOf(variantOf(Value(std::uint64_t{7}))), "x");
  EXPECT_EQ(*valueOf(variantOf(Value(std::int64_t{-1}), "t").get()), Value(std::int64_t{0}));
}

TEST(VariantsTest, ValuesWithoutACounterpartAreOmitted) {
  EXPECT_FALSE(parsed("(1, 2)"));
  EXPECT_EQ(*parsed("[<(1, 2)>, <'a'>]"), Value(Array{"a"}));
  EXPECT_EQ(*parsed("{'a': <(1, 2)>, 'b': <'x'>}"), Value(Dictionary{{"b", Value("x")}}));
  EXPECT_FALSE(valueOf(nullptr));
  EXPECT_FALSE(variantOf(Value(Opaque())));
  EXPECT_FALSE(variantOf(Value(Opaque()), "s"));
  EXPECT_EQ(*valueOf(variantOf(Value(Array{"a", Opaque()})).get()), Value(Array{"a"}));
  EXPECT_EQ(*valueOf(variantOf(Value(Array{"a", Opaque()}), "av").get()), Value(Array{"a"}));
  EXPECT_EQ(*valueOf(variantOf(Dictionary{{"a", Opaque()}, {"b", true}}).get()),
            Value(Dictionary{{"b", true}}));
}

TEST(VariantsTest, ASignatureDeterminesTheTypeOrTheResultIsNull) {
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
