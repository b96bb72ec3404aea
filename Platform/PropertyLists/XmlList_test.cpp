#include <chrono>
#include <clocale>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/PropertyLists/PropertyLists.h"

namespace wevora::platform {
namespace {

using std::string_literals::operator""s;

const std::string kDeclaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";

std::string listOf(const std::string& xml) {
  return kDeclaration + "\n<plist version=\"1.0\">" + xml + "</plist>\n";
}

std::optional<Value> read(const std::string& xml) {
  return PropertyLists::parse(listOf(xml));
}

std::string repeated(const std::string& text, std::size_t times) {
  std::string result;
  for (std::size_t i = 0; i < times; ++i) result += text;
  return result;
}

std::string utf16(const std::string& ascii, bool bigEndian) {
  std::string result;
  for (const char c : ascii) result += bigEndian ? "\0"s + c : c + "\0"s;
  return result;
}

const Value kYes = Dictionary{{"a", true}};
const std::string kYesXml = "<dict><key>a</key><true/></dict>";

TEST(XmlListTest, AByteOrderMarkIsSkipped) {
  EXPECT_EQ(PropertyLists::parse("\xEF\xBB\xBF" + listOf(kYesXml)), kYes);
}

TEST(XmlListTest, BlanksMayPrecedeTheDeclaration) {
  EXPECT_EQ(PropertyLists::parse("\n \t" + listOf(kYesXml)), kYes);
}

TEST(XmlListTest, TheDeclarationAndTheAttributesAreOptional) {
  EXPECT_EQ(PropertyLists::parse("<plist>" + kYesXml + "</plist>"), kYes);
}

TEST(XmlListTest, AnEndTagMayContainBlanksAndLineEnds) {
  for (const char* end : {"</plist >", "</plist\n>", "</plist\r\n\t>"})
    EXPECT_EQ(PropertyLists::parse("<plist>" + kYesXml + end), kYes) << end;
  EXPECT_EQ(PropertyLists::parse("<plist><dict ><key >a</key\n><true /></dict\t></plist>"), kYes);
}

TEST(XmlListTest, ACommentMayContainTheEndTag) {
  EXPECT_EQ(read("<!-- </plist> -->" + kYesXml + "<!-- \"it's </dict></plist> -->"), kYes);
}

TEST(XmlListTest, ACommentedOutListBeforeTheRealOneIsSkipped) {
  EXPECT_EQ(PropertyLists::parse("<!-- <plist><dict><key>a</key><false/></dict></plist> -->" +
                                 ("<plist>" + kYesXml + "</plist>")),
            kYes);
}

TEST(XmlListTest, InstructionsAndCommentsAreSkippedEverywhere) {
  EXPECT_EQ(PropertyLists::parse("<?one </plist> ?><plist><?two?><dict><!--x--><key>a<!--y--></key>"
                                 "<?three?><true/></dict></plist>"),
            kYes);
}

TEST(XmlListTest, AnythingBehindTheRootIsIgnored) {
  for (const auto& tail : {"\0"s, "\xFF\xFE"s, "</plist>"s, "<"s, "<!-- "s, "&x;"s, "<!DOCTYPE"s,
                           "<?xml?>"s, "<a "s + repeated("a=\"\" ", 5000),
                           repeated("<plist>", 1000), "\x01\x02"s, "x</string></dict></plist>"s})
    EXPECT_EQ(PropertyLists::parse("<plist>" + kYesXml + "</plist>" + tail), kYes) << tail;
}

TEST(XmlListTest, AListOfMoreThanSixteenThousandValuesIsReadWhole) {
  Dictionary expected;
  for (std::int64_t i = 0; i < 100000; ++i) expected.append(std::to_string(i), Value(i));
  const auto xml = PropertyLists::xml(expected);
  ASSERT_TRUE(xml);
  const auto list = PropertyLists::parse(*xml);
  ASSERT_TRUE(list);
  const auto& entries = *list->as<Dictionary>();
  ASSERT_EQ(entries.size(), expected.size());
  EXPECT_TRUE(std::equal(entries.begin(), entries.end(), expected.begin()));
}

TEST(XmlListTest, TheNumberOfValuesIsBounded) {
  const auto arrayOf = [](std::size_t values) {
    return "<array>" + repeated("<true/>", values) + "</array>";
  };
  EXPECT_TRUE(read(arrayOf(PropertyLists::kMostValues - 1)));
  EXPECT_FALSE(read(arrayOf(PropertyLists::kMostValues)));
}

TEST(XmlListTest, TheDepthIsBounded) {
  const auto nested = [](std::size_t depth) {
    return repeated("<array>", depth) + repeated("</array>", depth);
  };
  EXPECT_TRUE(read(nested(PropertyLists::kDeepest)));
  EXPECT_FALSE(read(nested(PropertyLists::kDeepest + 1)));
}

TEST(XmlListTest, TextsKeepEveryCharacterOfXml) {
  EXPECT_EQ(read("<string> a\t\nb &lt;&gt;&amp;&quot;&apos; \xC3\xA9 \xF0\x9F\x98\x80 </string>"),
            Value(" a\t\nb <>&\"' \xC3\xA9 \xF0\x9F\x98\x80 "));
  EXPECT_EQ(read("<string></string>"), Value(""));
  EXPECT_EQ(read("<string/>"), Value(""));
}

TEST(XmlListTest, LineEndsAreReadAsOneCharacter) {
  EXPECT_EQ(read("<string>a\r\nb\rc</string>"), Value("a\nb\nc"));
}

TEST(XmlListTest, AWrittenCarriageReturnIsReadAgain) {
  const Dictionary list{{"a\r", "b\r\nc\r"}};
  EXPECT_EQ(PropertyLists::parse(*PropertyLists::xml(list)), Value(list));
}

TEST(XmlListTest, CdataIsText) {
  EXPECT_EQ(read("<string>a<![CDATA[<b>&amp;</plist>\"]]>c</string>"),
            Value("a<b>&amp;</plist>\"c"));
  EXPECT_EQ(read("<dict><key><![CDATA[a]]></key><true/></dict>"), kYes);
  EXPECT_EQ(read("<integer><![CDATA[7]]></integer>"), Value(std::int64_t{7}));
}

TEST(XmlListTest, NumericReferencesAreCharacters) {
  EXPECT_EQ(read("<string>&#65;&#x42;&#233;&#x1F600;&#13;</string>"),
            Value("AB\xC3\xA9\xF0\x9F\x98\x80\r"));
}

TEST(XmlListTest, ReferencesToCharactersThatXmlForbidsAreRejected) {
  for (const char* reference :
       {"&#0;", "&#1;", "&#xFFFE;", "&#xD800;", "&#x110000;", "&#;", "&#a;"})
    EXPECT_EQ(read("<string>"s + reference + "</string>"), std::nullopt) << reference;
}

TEST(XmlListTest, StrayBytesInATextAreKept) {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte)
    if (byte != '<' && byte != '&' && byte != '\r') bytes += static_cast<char>(byte);
  EXPECT_EQ(read("<string>" + bytes + "</string>"), Value(bytes));
  EXPECT_EQ(read("<string><![CDATA[" + bytes + "]]></string>"), Value(bytes));
}

TEST(XmlListTest, NoncharactersAreKept) {
  for (const char* text : {"\xEF\xB7\x90", "\xEF\xB7\x90\xEF\xB7\xA0", "\xEF\xB7\xAF", "\xEF\xB7",
                           "\xEF\xB7\x8F", "\xEF\xB7\xB0", "\xEF\xBF\xBE"}) {
    EXPECT_EQ(read("<string>x"s + text + "y</string>"), Value("x"s + text + "y"));
  }
  EXPECT_EQ(read("<string>&#xFDD0;&#xFDEF;</string>"), Value("\xEF\xB7\x90\xEF\xB7\xAF"));
}

TEST(XmlListTest, AFileOfStrayBytesIsRejected) {
  EXPECT_EQ(read("<string>" + std::string(2000000, '\xFF') + "</string>"), std::nullopt);
}

TEST(XmlListTest, ANulIsRejected) {
  EXPECT_EQ(read("<string>a\0b</string>"s), std::nullopt);
  EXPECT_EQ(read("<dict>\0</dict>"s), std::nullopt);
  EXPECT_EQ(PropertyLists::parse("\0"s + listOf(kYesXml)), std::nullopt);
}

TEST(XmlListTest, IntegersOfSixtyFourBitsKeepTheirValue) {
  const std::pair<const char*, Value> kNumbers[] = {
      {"0", std::int64_t{0}},
      {"-0", std::int64_t{0}},
      {"+7", std::int64_t{7}},
      {" \n-12\t", std::int64_t{-12}},
      {"007", std::int64_t{7}},
      {"0x1F", std::int64_t{31}},
      {"-0X1f", std::int64_t{-31}},
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
      {"9223372036854775808", std::uint64_t{1} << 63U},
      {"18446744073709551615", std::numeric_limits<std::uint64_t>::max()}};
  for (const auto& [text, number] : kNumbers)
    EXPECT_EQ(read("<integer>"s + text + "</integer>"), number) << text;
}

TEST(XmlListTest, AnIntegerOfMoreThanSixtyFourBitsKeepsItsPlaceAndCannotBeWritten) {
  for (const char* text :
       {"18446744073709551616", "-9223372036854775809", "99999999999999999999999999999999"}) {
    const auto list = read("<dict><key>a</key><integer>"s + text + "</integer></dict>");
    ASSERT_EQ(list, Value(Dictionary{{"a", Opaque()}})) << text;
    EXPECT_EQ(PropertyLists::xml(*list->as<Dictionary>()), std::nullopt);
  }
}

TEST(XmlListTest, InvalidIntegersAreRejected) {
  for (const char* text : {"", " ", "-", "--1", "+-1", "1.5", "1 2", "0x", "0xG", "x", "1e3"})
    EXPECT_EQ(read("<integer>"s + text + "</integer>"), std::nullopt) << text;
}

TEST(XmlListTest, RealsAreReadInEveryForm) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::pair<const char*, double> kNumbers[] = {{"0.5", 0.5},
                                                     {"-1.25e-3", -0.00125},
                                                     {"1E300", 1e300},
                                                     {" 7 ", 7},
                                                     {".5", 0.5},
                                                     {"inf", kInfinity},
                                                     {"-inf", -kInfinity},
                                                     {"+infinity", kInfinity},
                                                     {"1e999", kInfinity},
                                                     {"1e-999", 0},
                                                     {"-Infinity", -kInfinity}};
  for (const auto& [text, number] : kNumbers)
    EXPECT_EQ(read("<real>"s + text + "</real>"), Value(number)) << text;
  const auto notANumber = read("<real>nan</real>");
  ASSERT_TRUE(notANumber && notANumber->as<double>());
  EXPECT_TRUE(std::isnan(*notANumber->as<double>()));
  for (const char* text : {"", "1,5", "1.5x", "e", "- 1"})
    EXPECT_EQ(read("<real>"s + text + "</real>"), std::nullopt) << text;
}

TEST(XmlListTest, WrittenRealsReadBackEqualInEveryLocale) {
  Array numbers{0.1, -0.0, 1e300, 5e-324, 123456789.25, 1e22, 5.0, 1.0 / 3};
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  for (const char* locale : {"C", "de_DE.UTF-8", "de_DE.utf8"}) {
    std::setlocale(LC_NUMERIC, locale);
    const auto xml = PropertyLists::xml({{"a", numbers}});
    EXPECT_NE(xml.value().find("<real>0.1</real>"), std::string::npos);
    EXPECT_EQ(PropertyLists::parse(*xml), Value(Dictionary{{"a", numbers}}));
  }
  std::setlocale(LC_NUMERIC, before.c_str());
}

TEST(XmlListTest, InvalidDatesAreRejected) {
  EXPECT_EQ(read("<date>\n2000-02-29T23:59:59Z </date>"), Value(Date{951868799}));
  for (const char* text :
       {"", "2001-02-29T00:00:00Z", "2001-13-01T00:00:00Z", "2001-00-01T00:00:00Z",
        "2001-01-01T24:00:00Z", "2001-01-01T00:60:00Z", "2001-01-01", "2001-01-01T00:00:00",
        "20010-01-01T00:00:00Z", "+001-01-01T00:00:00Z", "2001-01-01 00:00:00Z"})
    EXPECT_EQ(read("<date>"s + text + "</date>"), std::nullopt) << text;
}

TEST(XmlListTest, DataMayContainBlanksAnywhere) {
  const Data kBytes{std::byte{0}, std::byte{255}, std::byte{16}, std::byte{131}};
  EXPECT_EQ(read("<data>AP8Qgw==</data>"), Value(kBytes));
  EXPECT_EQ(read("<data>\n\t A P\r\n8Q\tgw =\n=\t</data>"), Value(kBytes));
  EXPECT_EQ(read("<data/>"), Value(Data()));
  EXPECT_EQ(read("<data>\n</data>"), Value(Data()));
}

TEST(XmlListTest, InvalidDataIsRejected) {
  for (const char* text : {"A", "AP8", "AP8Qgw=", "AP8Qgw===", "AP8*", "AP=8", "====", "AP-_"})
    EXPECT_EQ(read("<data>"s + text + "</data>"), std::nullopt) << text;
}

TEST(XmlListTest, DataOfEveryLengthReadsBackEqual) {
  for (std::size_t size = 0; size < 200; ++size) {
    Data data;
    for (std::size_t i = 0; i < size; ++i) data.push_back(static_cast<std::byte>(i * 37 + size));
    const Dictionary list{{"a", data}, {"b", Array{Array{data}}}};
    EXPECT_EQ(PropertyLists::parse(*PropertyLists::xml(list)), Value(list)) << size;
  }
}

TEST(XmlListTest, DataIsWrittenInLinesOfSeventySixColumns) {
  const auto xml = PropertyLists::xml({{"a", Data(60, std::byte{7})}, {"b", Data()}});
  EXPECT_NE(xml.value().find("\t<data>\n\t" + repeated("BwcH", 17) +
                             "\n\tBwcHBwcHBwcH\n\t</data>\n"
                             "\t<key>b</key>\n\t<data>\n\t</data>\n"),
            std::string::npos)
      << *xml;
}

TEST(XmlListTest, EmptyContainersAndTextsAreWritten) {
  const Dictionary list{{"a", Array()}, {"b", Dictionary()}, {"c", ""}};
  const auto xml = PropertyLists::xml(list);
  EXPECT_NE(xml.value().find("\t<key>a</key>\n\t<array/>\n\t<key>b</key>\n\t<dict/>\n"
                             "\t<key>c</key>\n\t<string></string>\n"),
            std::string::npos);
  EXPECT_EQ(PropertyLists::parse(*xml), Value(list));
  EXPECT_NE(PropertyLists::xml({}).value().find("<plist version=\"1.0\">\n<dict/>\n</plist>\n"),
            std::string::npos);
}

TEST(XmlListTest, AUidIsADictionary) {
  const Dictionary list{{"a", Dictionary{{"CF$UID", std::int64_t{5}}}}};
  EXPECT_EQ(PropertyLists::parse(*PropertyLists::xml(list)), Value(list));
}

TEST(XmlListTest, OfDuplicateKeysTheLastValueCounts) {
  const auto list = read(
      "<dict><key>a</key><false/><key>b</key><string>x</string>"
      "<key>a</key><true/></dict>");
  EXPECT_EQ(list, Value(Dictionary{{"a", true}, {"b", "x"}}));
  EXPECT_EQ(list->as<Dictionary>()->begin()->first, "a");
}

TEST(XmlListTest, AnEmptyKeyIsAKey) {
  EXPECT_EQ(read("<dict><key/><true/></dict>"), Value(Dictionary{{"", true}}));
}

TEST(XmlListTest, ListsOfAnInvalidStructureAreRejected) {
  for (const char* xml :
       {"", "<!-- -->", "<dict><key>a</key></dict>", "<dict><key>a</key><key>b</key><true/></dict>",
        "<dict><true/></dict>", "<dict><key>a</key><true/><true/></dict>", "<key>a</key>",
        "<array><key>a</key></array>", "<true/><false/>", "<dict/><dict/>",
        "<plist><true/></plist>", "<unknown/>", "<array><null/></array>",
        "<string><b>x</b></string>", "<key><string/></key>", "<True/>",
        "<x:true xmlns:x=\"urn:x\"/>", "<integer><integer>1</integer></integer>",
        "<dict><key>a</key><true></dict>"})
    EXPECT_EQ(read(xml), std::nullopt) << xml;
  for (const char* xml : {"<dict/>", "<list><dict/></list>", "plist", "<plist/>", "<plist></dict>",
                          "<plist><dict></plist></dict>", "<plist version=1><dict/></plist>",
                          "<plist a=\"\" a=\"\"><dict/></plist>"})
    EXPECT_EQ(PropertyLists::parse(std::string(xml)), std::nullopt) << xml;
}

TEST(XmlListTest, TextBetweenElementsIsRejected) {
  EXPECT_EQ(read("x" + kYesXml), std::nullopt);
  EXPECT_EQ(read(kYesXml + "x"), std::nullopt);
  EXPECT_EQ(PropertyLists::parse("x" + listOf(kYesXml)), std::nullopt);
  for (const char* text : {"x", "&amp;", "<![CDATA[x]]>", "\x01", "\xFF", "&#160;"}) {
    EXPECT_EQ(read("<dict>"s + text + "</dict>"), std::nullopt) << text;
    EXPECT_EQ(read("<array><true/>"s + text + "</array>"), std::nullopt) << text;
    EXPECT_EQ(read("<true>"s + text + "</true>"), std::nullopt) << text;
  }
  EXPECT_EQ(read("<dict> &#32;<![CDATA[ ]]>\n<key>a</key>\t<true> </true>\r\n</dict>"), kYes);
}

TEST(XmlListTest, Utf16IsReadInBothByteOrders) {
  const auto xml = R"(<?xml version="1.0" encoding="UTF-16"?><plist>)" + kYesXml + "</plist>";
  EXPECT_EQ(PropertyLists::parse("\xFF\xFE" + utf16(xml, false)), kYes);
  EXPECT_EQ(PropertyLists::parse("\xFE\xFF" + utf16(xml, true)), kYes);
  EXPECT_EQ(PropertyLists::parse(utf16(xml, false)), kYes);
  EXPECT_EQ(PropertyLists::parse(utf16(xml, true)), kYes);
  const auto text = "\xFE\xFF" + utf16("<plist><string>", true) + "\0\xE9\xD8\x3D\xDE\0\xD8\0"s +
                    utf16("</string></plist>", true) + "\xD8";
  EXPECT_EQ(PropertyLists::parse(text), Value("\xC3\xA9\xF0\x9F\x98\x80\xED\xA0\x80"));
}

TEST(XmlListTest, Latin1IsReadWhereItIsDeclared) {
  for (const char* name : {"ISO-8859-1", "iso-8859-1"})
    EXPECT_EQ(PropertyLists::parse("<?xml version='1.0' encoding = '"s + name +
                                   "'?><plist><string>\xE9\xFF</string></plist>"),
              Value("\xC3\xA9\xC3\xBF"));
}

TEST(XmlListTest, AListOfAnotherDeclaredEncodingIsRejected) {
  for (const char* name : {"Shift_JIS", "UTF-7", "EBCDIC-CP-US", "no-such", ""})
    EXPECT_EQ(PropertyLists::parse("<?xml version=\"1.0\" encoding=\""s + name +
                                   "\"?><plist><true/></plist>"),
              std::nullopt)
        << name;
}

TEST(XmlListTest, EntitiesAreNeverExpanded) {
  const auto withType = [](const std::string& declarations, const std::string& text) {
    return kDeclaration + "<!DOCTYPE plist [" + declarations + "]><plist><string>" + text +
           "</string></plist>";
  };
  EXPECT_EQ(PropertyLists::parse(withType("", "x")), Value("x"));
  for (const char* declarations :
       {"<!ENTITY a \"x\">", "<!ENTITY a SYSTEM \"file:///etc/passwd\">",
        "<!ENTITY % a SYSTEM \"file:///etc/passwd\"> %a;", "%a;", "<!ELEMENT string ANY>",
        "<!ATTLIST string a (b|c) \"b\">", "<!ATTLIST string a CDATA \"b\">",
        "<!NOTATION a SYSTEM \"b\">", "<!ENTITY a SYSTEM \"b\" NDATA c>"}) {
    EXPECT_EQ(PropertyLists::parse(withType(declarations, "x")), std::nullopt) << declarations;
    EXPECT_EQ(PropertyLists::parse(withType(declarations, "&a;")), std::nullopt) << declarations;
  }
  for (const char* type : {"", "<!DOCTYPE plist SYSTEM \"file:///etc/passwd\">",
                           "<!DOCTYPE plist PUBLIC \"x\" \"http://127.0.0.1:1/x.dtd\">"}) {
    const auto list = [&](const std::string& text) {
      return kDeclaration + type + "<plist><string>" + text + "</string></plist>";
    };
    EXPECT_EQ(PropertyLists::parse(list("x")), Value("x")) << type;
    EXPECT_EQ(PropertyLists::parse(list("&nbsp;")), std::nullopt) << type;
  }
  EXPECT_EQ(PropertyLists::parse("<plist a=\"&a;\"><true/></plist>"s), std::nullopt);
}

TEST(XmlListTest, HostileTagsAreRejectedQuickly) {
  std::string attributes;
  for (int i = 0; i < 1000000; ++i) attributes += " a" + std::to_string(i) + "=''";
  std::string namespaces;
  for (int i = 0; i < 100; ++i) namespaces += "<array xmlns:a" + std::to_string(i) + "='urn:x'>";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(read("<dict" + attributes + "/>"), std::nullopt);
  EXPECT_EQ(read("<dict><key>" + attributes + "<" + attributes), std::nullopt);
  EXPECT_EQ(read(namespaces + repeated("</array>", 100)), std::nullopt);
  EXPECT_EQ(read("<string>" + repeated("<!--", 3000000)), std::nullopt);
  EXPECT_EQ(read(repeated("<!DOCTYPE [", 1000000)), std::nullopt);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

TEST(XmlListTest, NothingIsPrintedForAnInvalidList) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  for (const char* xml : {"<a", "<plist><dict></plist>", "<plist>&a;</plist>", "<plist>\xFF",
                          "<?xml version=\"9\" encoding=\"x\"?><plist/>", "<plist xmlns=\"x\">",
                          "<!DOCTYPE plist SYSTEM \"/no/such\"><plist>&a;"})
    EXPECT_EQ(PropertyLists::parse(std::string(xml)), std::nullopt);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(XmlListTest, ListsAreReadInManyThreads) {
  const auto xml = listOf(kYesXml);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        EXPECT_EQ(PropertyLists::parse(xml), kYes);
        EXPECT_EQ(PropertyLists::parse(xml.substr(0, 60)), std::nullopt);
      }
    });
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace wevora::platform
