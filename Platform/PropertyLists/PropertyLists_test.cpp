#include "Platform/PropertyLists/PropertyLists.h"

#include <fstream>
#include <limits>
#include <random>
#include <sys/stat.h>
#include <utility>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

std::string wrapped(const std::string& xml) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>)"
         "\n<plist version=\"1.0\">" +
         xml + "</plist>\n";
}

std::string repeated(const std::string& text, std::size_t times) {
  std::string result;
  for (std::size_t i = 0; i < times; ++i) result += text;
  return result;
}

/// A binary list with one-byte offsets and references, whose first object is the root.
std::string binary(const std::vector<std::string>& objects) {
  std::string list = "bplist00";
  std::string table;
  for (const auto& object : objects) {
    table += static_cast<char>(list.size());
    list += object;
  }
  const auto tablePlace = static_cast<char>(list.size());
  list += table;
  list += std::string(6, '\0') + "\x01\x01";
  list += std::string(7, '\0') + static_cast<char>(objects.size());
  list += std::string(8, '\0');
  list += std::string(7, '\0') + tablePlace;
  return list;
}

Dictionary everyType() {
  return {{"z flag", true},
          {"a number", std::int64_t{-42}},
          {"big", std::numeric_limits<std::int64_t>::max()},
          {"real", 0.5},
          {"text", "<&> \"\xC3\xA9\" \xF0\x9F\x98\x80"},
          {"empty", ""},
          {"date", Date{1700000000}},
          {"data", Data{std::byte{0}, std::byte{255}}},
          {"array", Array{true, "x", Dictionary{{"k", false}}}},
          {"dictionary", Dictionary{{"HideDesktopItem", false}}}};
}

TEST(PropertyListsTest, AWrittenListReadsBackEqual) {
  const auto xml = PropertyLists::xml(everyType());
  ASSERT_TRUE(xml);
  EXPECT_EQ(PropertyLists::parse(*xml), Value(everyType()));
}

TEST(PropertyListsTest, KeysKeepTheirOrder) {
  const auto xml = PropertyLists::xml(everyType());
  ASSERT_TRUE(xml);
  std::size_t place = 0;
  for (const auto& [key, value] : everyType()) {
    const auto next = xml->find("<key>" + key + "</key>");
    ASSERT_NE(next, std::string::npos);
    EXPECT_GT(next, place);
    place = next;
  }
}

TEST(PropertyListsTest, TheFormatIsXmlOfVersionOne) {
  EXPECT_EQ(PropertyLists::xml({{"a", true}}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
            "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
            "<plist version=\"1.0\">\n<dict>\n\t<key>a</key>\n\t<true/>\n</dict>\n</plist>\n");
}

TEST(PropertyListsTest, AnEmptyDictionaryIsAList) {
  EXPECT_EQ(PropertyLists::parse(*PropertyLists::xml({})), Value(Dictionary()));
  EXPECT_EQ(PropertyLists::parse(wrapped("<dict/>")), Value(Dictionary()));
}

TEST(PropertyListsTest, ABinaryListIsRead) {
  const auto list = binary({std::string("\xD2\x01\x02\x03\x04", 5), std::string("\x51") + "a",
                            std::string("\x51") + "b", "\x09", "\x08"});
  EXPECT_EQ(PropertyLists::parse(list), Value(Dictionary{{"a", true}, {"b", false}}));
}

TEST(PropertyListsTest, TextBehindTheEndTagIsIgnored) {
  const auto xml = PropertyLists::xml({{"a", true}});
  ASSERT_TRUE(xml);
  for (const char* tail :
       {"\n", "</plist>\n", "</dict>\n</plist>\n", "ing></dict></plist>", "\xFF", "<dict><key>b"})
    EXPECT_EQ(PropertyLists::parse(*xml + tail), Value(Dictionary{{"a", true}})) << tail;
}

TEST(PropertyListsTest, ATruncatedListIsRejected) {
  const auto xml = PropertyLists::xml(everyType());
  ASSERT_TRUE(xml);
  const auto end = xml->find("</plist>");
  for (std::size_t size = 0; size < end; ++size)
    EXPECT_EQ(PropertyLists::parse(xml->substr(0, size)), std::nullopt) << xml->substr(0, size);
  const auto list = binary({"\xA1\x01", std::string("\x51") + "a"});
  ASSERT_TRUE(PropertyLists::parse(list));
  for (std::size_t size = 0; size < list.size(); ++size)
    EXPECT_EQ(PropertyLists::parse(list.substr(0, size)), std::nullopt) << size;
}

TEST(PropertyListsTest, RandomBytesAreRejected) {
  std::mt19937 random(7);
  for (int i = 0; i < 2000; ++i) {
    std::string bytes(random() % 300, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    EXPECT_EQ(PropertyLists::parse(bytes), std::nullopt);
    EXPECT_EQ(PropertyLists::parse("bplist00" + bytes), std::nullopt);
  }
}

TEST(PropertyListsTest, DamagedListsDoNoHarm) {
  std::mt19937 random(7);
  const auto xml = *PropertyLists::xml(everyType());
  const auto list = binary({std::string("\xD2\x01\x02\x03\x04", 5), std::string("\x51") + "a",
                            std::string("\x62\0a\0b", 5), std::string("\xA2\x04\x01"),
                            std::string("\x4F\x10\x03xyz")});
  ASSERT_TRUE(PropertyLists::parse(list));
  for (const auto& whole : {xml, list})
    for (int i = 0; i < 20000; ++i) {
      std::string bytes = whole;
      for (auto changes = random() % 4 + 1; changes > 0; --changes)
        bytes[random() % bytes.size()] = static_cast<char>(random());
      const auto read = PropertyLists::parse(bytes);
      if (!read || read->as<Dictionary>() == nullptr) continue;
      // Writing it may fail, but not crash.
      PropertyLists::xml(*read->as<Dictionary>());
    }
}

TEST(PropertyListsTest, ListsThatAreNestedTooDeeplyAreRejected) {
  for (const std::size_t depth : {600U, 16000U, 2000000U}) {
    const auto whole =
        wrapped(repeated("<array>", depth) + "<true/>" + repeated("</array>", depth));
    EXPECT_EQ(PropertyLists::parse(whole), std::nullopt);
    EXPECT_EQ(PropertyLists::parse(wrapped(repeated("<array>", depth))), std::nullopt);
  }
  EXPECT_TRUE(PropertyLists::parse(wrapped(repeated("<array>", 500) + repeated("</array>", 500))));
}

TEST(PropertyListsTest, AKeyThatContainsANulOrIsNotATextDoesNotEndTheProcess) {
  const std::pair<std::string, std::string> kNamed[] = {{{"\x53"
                                                          "a\0b",
                                                          4},
                                                         {"a\0b", 3}},
                                                        {{"\x61\0\0", 3}, {"\0", 1}}};
  for (const auto& [object, name] : kNamed) {
    const auto list = PropertyLists::parse(binary({"\xD1\x01\x02", object, "\x09"}));
    EXPECT_EQ(list, Value(Dictionary{{name, true}}));
    EXPECT_EQ(PropertyLists::xml(*list->as<Dictionary>()), std::nullopt);
  }
  for (const auto& name : {std::string("\x09"), std::string("\x10\x01"), std::string("\0", 1)})
    EXPECT_EQ(PropertyLists::parse(binary({"\xD1\x01\x02", name, "\x09"})), std::nullopt);
  for (const auto& name : {std::string("a\0b", 3), std::string("a&#0;b"), std::string("a&#x00;b")})
    EXPECT_EQ(PropertyLists::parse(wrapped("<dict><key>" + name + "</key><true/></dict>")),
              std::nullopt);
}

TEST(PropertyListsTest, AListOfEscapesIsReadQuickly) {
  const auto escapes = repeated("&amp;", 3000000);
  EXPECT_EQ(PropertyLists::parse(wrapped("<string>" + escapes + "</string>")),
            Value(repeated("&", 3000000)));
  EXPECT_EQ(PropertyLists::parse(wrapped("<string>" + escapes.substr(0, 50000) + "</string>")),
            Value(repeated("&", 10000)));
}

TEST(PropertyListsTest, ABinaryListInsideItselfIsRejected) {
  EXPECT_EQ(PropertyLists::parse(binary({std::string("\xA1\x00", 2)})), std::nullopt);
  EXPECT_EQ(PropertyLists::parse(binary({"\xA1\x01", std::string("\xA1\x00", 2)})), std::nullopt);
}

TEST(PropertyListsTest, ABinaryListThatExpandsWithoutEndIsRejected) {
  std::vector<std::string> objects;
  for (int i = 1; i <= 40; ++i)
    objects.push_back(std::string("\xA2") + static_cast<char>(i) + static_cast<char>(i));
  objects.emplace_back("\x09");
  EXPECT_EQ(PropertyLists::parse(binary(objects)), std::nullopt);
}

TEST(PropertyListsTest, ListsWithTooManyValuesAreRejected) {
  std::string keys;
  for (int i = 0; i < 500000; ++i) keys += "<key>" + std::to_string(i) + "</key><true/>";
  EXPECT_EQ(PropertyLists::parse(wrapped("<dict>" + keys + "</dict>")), std::nullopt);
}

TEST(PropertyListsTest, TextsThatXmlCannotHoldCannotBeWritten) {
  for (const char* text : {"\xFF", "a\x80", "\xC0\xAF", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xC3",
                           "\x01", "\xEF\xBF\xBE"}) {
    EXPECT_EQ(PropertyLists::xml({{"a", Value(text)}}), std::nullopt);
    EXPECT_EQ(PropertyLists::xml({{text, Value(true)}}), std::nullopt);
    EXPECT_EQ(PropertyLists::xml({{"a", Array{Dictionary{{"b", Value(text)}}}}}), std::nullopt);
  }
  EXPECT_EQ(PropertyLists::xml({{"a", Value(std::string("\0", 1))}}), std::nullopt);
}

TEST(PropertyListsTest, AListWithATextThatXmlCannotHoldIsStillRead) {
  EXPECT_EQ(PropertyLists::parse(wrapped("<dict><key>\xFF</key><true/></dict>")),
            Value(Dictionary{{"\xFF", true}}));
  EXPECT_EQ(
      PropertyLists::parse(wrapped("<array><string>\x01</string><string>\xFF</string></array>")),
      Value(Array{"\x01", "\xFF"}));
  const std::pair<std::string, std::string> kTexts[] = {
      {"\x51\x01", "\x01"},
      {"\x51\xFF", "\xFF"},
      {std::string("\x53"
                   "a\0b",
                   4),
       std::string("a\0b", 3)},
      {std::string("\x62\0a\xD8\0", 5), "a\xED\xA0\x80"},
      {std::string("\x62\xDC\0\0a", 5),
       "\xED\xB0\x80"
       "a"},
      {std::string("\x63\xD8\x3D\xDE\0\0\xE9", 7), "\U0001F600\u00E9"}};
  for (const auto& [object, text] : kTexts)
    EXPECT_EQ(PropertyLists::parse(binary({"\xA1\x01", object})), Value(Array{text})) << text;
}

TEST(PropertyListsTest, AValueOfBinaryListsOnlyKeepsItsPlaceAndCannotBeWritten) {
  for (const auto& object : {std::string("\0", 1), std::string("\xC1\x02"), std::string("\xB1\x02"),
                             "\x14" + std::string(7, '\0') + "\x01" + std::string(8, '\0'),
                             "\x8F" + std::string(16, '\x01')}) {
    const auto list = PropertyLists::parse(binary({std::string("\xD2\x01\x02\x03\x04", 5),
                                                   "\x51"
                                                   "a",
                                                   "\x51"
                                                   "b",
                                                   object, "\x08"}));
    ASSERT_EQ(list, Value(Dictionary{{"a", Opaque()}, {"b", false}}));
    EXPECT_EQ(PropertyLists::xml(*list->as<Dictionary>()), std::nullopt);
  }
}

TEST(PropertyListsTest, AUidIsADictionaryAsInXml) {
  const Value uid = Dictionary{{"CF$UID", std::int64_t{261}}};
  EXPECT_EQ(PropertyLists::parse(binary({"\xA1\x01", "\x81\x01\x05"})), Value(Array{uid}));
  EXPECT_EQ(PropertyLists::parse(*PropertyLists::xml({{"a", uid}})), Value(Dictionary{{"a", uid}}));
}

TEST(PropertyListsTest, NumbersOfEveryWidthKeepTheirValue) {
  const auto eight = std::string(8, '\xFF');
  const std::pair<std::string, Value> kNumbers[] = {
      {"\x10\xFF", std::int64_t{255}},
      {"\x11\xFF\xFF", std::int64_t{65535}},
      {"\x12\xFF\xFF\xFF\xFF", std::int64_t{4294967295}},
      {"\x13" + eight, std::int64_t{-1}},
      {"\x14" + eight + eight, std::int64_t{-1}},
      {"\x14" + std::string(8, '\0') + eight, std::numeric_limits<std::uint64_t>::max()},
      {std::string("\x22\x3F\0\0\0", 5), 0.5},
      {std::string("\x23\xBF\xE0\0\0\0\0\0\0", 9), -0.5}};
  for (const auto& [object, number] : kNumbers)
    EXPECT_EQ(PropertyLists::parse(binary({"\xA1\x01", object})), Value(Array{number}));
}

TEST(PropertyListsTest, NumbersFrom2To63OnStayPositive) {
  for (const auto number : {std::uint64_t{1} << 63U, std::numeric_limits<std::uint64_t>::max()}) {
    EXPECT_EQ(PropertyLists::parse(wrapped("<integer>" + std::to_string(number) + "</integer>")),
              Value(number));
    const Dictionary list{{"a", number}, {"b", Array{number}}};
    const auto xml = PropertyLists::xml(list);
    ASSERT_TRUE(xml);
    EXPECT_NE(xml->find("<integer>" + std::to_string(number) + "</integer>"), std::string::npos);
    EXPECT_EQ(PropertyLists::parse(*xml), Value(list));
  }
  const Dictionary smallest{{"a", std::numeric_limits<std::int64_t>::min()},
                            {"b", std::int64_t{-1}}};
  EXPECT_EQ(PropertyLists::parse(*PropertyLists::xml(smallest)), Value(smallest));
}

TEST(PropertyListsTest, DatesFarAwayAreReadAndWritten) {
  const std::pair<const char*, double> kDates[] = {
      {"0001-01-01T00:00:00Z", -62135596800}, {"0987-06-05T04:03:02Z", -31007044618},
      {"1904-01-01T00:00:00Z", -2082844800},  {"2001-01-01T00:00:00Z", 978307200},
      {"4001-01-01T00:00:00Z", 64092211200},  {"9999-12-31T23:59:59Z", 253402300799}};
  for (const auto& [text, seconds] : kDates) {
    const std::string tag = "<date>" + std::string(text) + "</date>";
    EXPECT_EQ(PropertyLists::parse(wrapped(tag)), Value(Date{seconds})) << text;
    const auto xml = PropertyLists::xml({{"a", Date{seconds}}});
    ASSERT_TRUE(xml);
    EXPECT_NE(xml->find(tag), std::string::npos) << *xml;
  }
}

TEST(PropertyListsTest, ADateLosesItsFractionOnlyWhenItIsWritten) {
  const auto list =
      PropertyLists::parse(binary({"\xA1\x01", std::string("\x33\xBF\xE0\0\0\0\0\0\0", 9)}));
  EXPECT_EQ(list, Value(Array{Date{978307199.5}}));
  EXPECT_EQ(PropertyLists::parse(*PropertyLists::xml({{"a", *list}})),
            Value(Dictionary{{"a", Array{Date{978307199}}}}));
}

TEST(PropertyListsTest, ValuesOutOfRangeCannotBeWritten) {
  EXPECT_EQ(PropertyLists::xml({{"a", Date{1e12}}}), std::nullopt);
  EXPECT_EQ(PropertyLists::xml({{"a", Date{std::numeric_limits<double>::quiet_NaN()}}}),
            std::nullopt);
  EXPECT_EQ(PropertyLists::xml({{"a", std::numeric_limits<double>::infinity()}}), std::nullopt);
  Value deep = Array();
  for (int i = 0; i < 600; ++i) deep = Array{std::move(deep)};
  EXPECT_EQ(PropertyLists::xml({{"a", deep}}), std::nullopt);
}

TEST(PropertyListsTest, OnlyRegularFilesUpToSixteenMebibytesAreRead) {
  const TemporaryFolder folder;
  EXPECT_EQ(PropertyLists::read(folder.path("missing")), std::nullopt);
  EXPECT_EQ(PropertyLists::read(""), std::nullopt);
  EXPECT_EQ(PropertyLists::read(folder.path()), std::nullopt);
  EXPECT_EQ(PropertyLists::read("/dev/zero"), std::nullopt);
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(PropertyLists::read(folder.path("pipe")), std::nullopt);

  const auto padded = [](std::size_t size) {
    auto xml = wrapped("<dict/>");
    return xml + std::string(size - xml.size(), '\n');
  };
  std::ofstream(folder.path("largest")) << padded(PropertyLists::kLargestFile);
  EXPECT_EQ(PropertyLists::read(folder.path("largest")), Value(Dictionary()));
  std::ofstream(folder.path("larger")) << padded(PropertyLists::kLargestFile + 1);
  EXPECT_EQ(PropertyLists::read(folder.path("larger")), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
