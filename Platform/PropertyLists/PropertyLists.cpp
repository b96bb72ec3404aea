#include "Platform/PropertyLists/PropertyLists.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <plist/plist.h>
#include <string_view>
#include <utility>

#include "Platform/Base/RegularFile.h"
#include "Platform/PropertyLists/BinaryList.h"
#include "Platform/PropertyLists/ListText.h"

namespace wevora::platform {
namespace {

constexpr std::string_view kBinaryMark = "bplist";
constexpr std::string_view kEndTag = "</plist>";
constexpr const char* kDateForm = "%Y-%m-%dT%H:%M:%SZ";
constexpr BinaryListBounds kBounds{PropertyLists::kMostValues, 2 * PropertyLists::kLargestFile,
                                   PropertyLists::kDeepest};

struct ListFree {
  void operator()(void* list) const noexcept { plist_free(list); }
};
using List = std::unique_ptr<void, ListFree>;

struct Free {
  // NOLINTNEXTLINE: the library allocates with malloc
  void operator()(void* memory) const noexcept { std::free(memory); }
};

/// The library reads numbers as the thread's locale writes them; in a list they have one form.
/// Threads: one. Owns: the locale of its thread, for its scope. Errors: the locale stays.
class PlainNumbers {
 public:
  PlainNumbers()
      : plain_(::newlocale(LC_NUMERIC_MASK, "C", ::duplocale(::uselocale(nullptr)))),
        before_(plain_ == nullptr ? nullptr : ::uselocale(plain_)) {}
  ~PlainNumbers() {
    if (plain_ == nullptr) return;
    ::uselocale(before_);
    ::freelocale(plain_);
  }
  PlainNumbers(const PlainNumbers&) = delete;
  PlainNumbers& operator=(const PlainNumbers&) = delete;

 private:
  locale_t plain_;
  locale_t before_;
};

std::optional<std::string> xmlOf(plist_t list) {
  char* text = nullptr;
  std::uint32_t length = 0;
  plist_to_xml(list, &text, &length);
  const std::unique_ptr<char, Free> owned(text);
  if (!owned) return std::nullopt;
  return std::string(text, length);
}

List listOfXml(std::string_view xml) {
  plist_t list = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &list);
  return List(list);
}

/// What a value's tag has inside where it stands alone. The library's own answers are too narrow
/// for some numbers and dates; what it reads and writes is not.
std::string insideOf(plist_t node, std::string_view tag) {
  const std::string xml = xmlOf(node).value_or("");
  const auto begin = xml.find(tag);
  if (begin == std::string::npos) return {};
  const auto text = std::string_view(xml).substr(begin + tag.size());
  return std::string(text.substr(0, text.find('<')));
}

List nodeWithin(std::string_view tag, const std::string& text) {
  std::string xml = "<plist version=\"1.0\"><";
  xml.append(tag).append(">").append(text).append("</").append(tag).append("></plist>");
  return listOfXml(xml);
}

std::optional<Value> valueOf(plist_t node, int depth);

Value textOf(plist_t node) {
  std::uint64_t length = 0;
  const char* text = plist_get_string_ptr(node, &length);
  return text == nullptr ? std::string() : std::string(text, length);
}

Value dataOf(plist_t node) {
  std::uint64_t length = 0;
  const auto* bytes = reinterpret_cast<const std::byte*>(plist_get_data_ptr(node, &length));
  return bytes == nullptr ? Data() : Data(bytes, bytes + length);
}

Value dateOf(plist_t node) {
  std::tm time{};
  ::strptime(insideOf(node, "<date>").c_str(), kDateForm, &time);
  return Date{static_cast<double>(::timegm(&time))};
}

std::optional<Value> arrayOf(plist_t node, int depth) {
  Array result;
  void* iterator = nullptr;
  plist_array_new_iter(node, &iterator);
  const std::unique_ptr<void, Free> owned(iterator);
  for (plist_t item = nullptr;;) {
    plist_array_next_item(node, iterator, &item);
    if (item == nullptr) return Value(std::move(result));
    auto value = valueOf(item, depth + 1);
    if (!value) return std::nullopt;
    result.push_back(std::move(*value));
  }
}

std::optional<Value> dictionaryOf(plist_t node, int depth) {
  Dictionary result;
  void* iterator = nullptr;
  plist_dict_new_iter(node, &iterator);
  const std::unique_ptr<void, Free> owned(iterator);
  for (plist_t item = nullptr;;) {
    char* name = nullptr;
    plist_dict_next_item(node, iterator, &name, &item);
    const std::unique_ptr<char, Free> key(name);
    if (item == nullptr) return Value(std::move(result));
    auto value = valueOf(item, depth + 1);
    if (!value || !key) return std::nullopt;
    result.set(key.get(), std::move(*value));
  }
}

bool flagOf(plist_t node) {
  std::uint8_t flag = 0;
  plist_get_bool_val(node, &flag);
  return flag != 0;
}

Value integerOf(plist_t node) {
  std::uint64_t bits = 0;
  plist_get_uint_val(node, &bits);
  const auto number = static_cast<std::int64_t>(bits);
  const bool negative = number < 0 && insideOf(node, "<integer>").starts_with('-');
  return negative ? Value(number) : Value(bits);
}

double realOf(plist_t node) {
  double number = 0;
  plist_get_real_val(node, &number);
  return number;
}

std::optional<Value> valueOf(plist_t node, int depth) {
  if (depth > PropertyLists::kDeepest) return std::nullopt;
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
      return flagOf(node);
    case PLIST_UINT:
      return integerOf(node);
    case PLIST_REAL:
      return realOf(node);
    case PLIST_STRING:
      return textOf(node);
    case PLIST_DATE:
      return dateOf(node);
    case PLIST_DATA:
      return dataOf(node);
    case PLIST_ARRAY:
      return arrayOf(node, depth);
    case PLIST_DICT:
      return dictionaryOf(node, depth);
    default:
      return std::nullopt;
  }
}

/// None for a date that is not of the years 1 to 9999.
std::optional<std::string> dateText(const Date& date) {
  constexpr double kFirst = -62135596800;
  constexpr double kEnd = 253402300800;
  if (!(date.secondsSince1970 >= kFirst && date.secondsSince1970 < kEnd)) return std::nullopt;
  const auto seconds = static_cast<std::time_t>(std::floor(date.secondsSince1970));
  std::tm time{};
  std::array<char, 32> text{};
  ::gmtime_r(&seconds, &time);
  return std::string(text.data(), std::strftime(text.data(), text.size(), kDateForm, &time));
}

/// Makes the library's nodes of values; a null node where a value has no XML form.
/// Threads: a value. Owns: nothing. Errors: see above.
struct NodeMaker {
  int depth = 0;

  List operator()(bool flag) const { return List(plist_new_bool(flag ? 1 : 0)); }
  List operator()(std::int64_t number) const {
    return List(plist_new_uint(static_cast<std::uint64_t>(number)));
  }
  List operator()(std::uint64_t number) const {
    return nodeWithin("integer", std::to_string(number));
  }
  List operator()(double number) const {
    return List(std::isfinite(number) ? plist_new_real(number) : nullptr);
  }
  List operator()(const std::string& text) const {
    return List(isListText(text) ? plist_new_string(text.c_str()) : nullptr);
  }
  List operator()(const Date& date) const {
    const auto text = dateText(date);
    return text ? nodeWithin("date", *text) : nullptr;
  }
  List operator()(const Data& data) const {
    return List(plist_new_data(reinterpret_cast<const char*>(data.data()), data.size()));
  }
  List operator()(const Opaque&) const { return nullptr; }
  List operator()(const Array& array) const {
    List result(plist_new_array());
    for (const auto& value : array) {
      List item = inside(value);
      if (!item) return nullptr;
      plist_array_append_item(result.get(), item.release());
    }
    return result;
  }
  List operator()(const Dictionary& dictionary) const {
    List result(plist_new_dict());
    for (const auto& [key, value] : dictionary) {
      List item = isListText(key) ? inside(value) : nullptr;
      if (!item) return nullptr;
      plist_dict_set_item(result.get(), key.c_str(), item.release());
    }
    return result;
  }

 private:
  List inside(const Value& value) const {
    if (depth >= PropertyLists::kDeepest) return nullptr;
    return value.visit(NodeMaker{depth + 1});
  }
};

/// The library leaves out a year's leading zeros; no text holds a tag.
std::string withWholeYears(std::string xml) {
  constexpr std::string_view kTag = "<date>";
  for (auto tag = xml.find(kTag); tag != std::string::npos; tag = xml.find(kTag, tag + 1)) {
    const auto year = tag + kTag.size();
    const auto digits = xml.find('-', year) - year;
    if (digits < 4) xml.insert(year, 4 - digits, '0');
  }
  return xml;
}

/// Up to the end tag; none where it is missing or a NUL, which no XML holds, comes before it: the
/// library would end the process over a NUL in a key.
std::optional<std::string_view> wholeXml(std::string_view text) {
  const auto end = text.find(kEndTag);
  if (end == std::string_view::npos) return std::nullopt;
  text = text.substr(0, end + kEndTag.size());
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  return text;
}

/// Whether the library reads it in a bounded time and depth. Every value and every key has a tag,
/// and for every escaped character the library moves all of the text behind it.
bool isWithinBounds(std::string_view xml) {
  constexpr std::size_t kMostBytesMoved = std::size_t{1} << 32U;
  std::size_t tags = 0;
  for (std::size_t i = 0; i + 1 < xml.size(); ++i)
    if (xml[i] == '<' && xml[i + 1] != '/') ++tags;
  const auto escapes = static_cast<std::size_t>(std::ranges::count(xml, '&'));
  return tags <= PropertyLists::kMostValues && escapes <= kMostBytesMoved / xml.size();
}

std::optional<Value> valueOfXmlList(std::string_view bytes) {
  const auto xml = wholeXml(bytes);
  if (!xml || !isWithinBounds(*xml)) return std::nullopt;
  const PlainNumbers numbers;
  const List list = listOfXml(*xml);
  return list ? valueOf(list.get(), 0) : std::nullopt;
}

}  // namespace

std::optional<Value> PropertyLists::read(const std::string& path) {
  const auto bytes = contentsOfRegularFile(path, kLargestFile);
  return bytes ? parse(*bytes) : std::nullopt;
}

std::optional<Value> PropertyLists::parse(std::span<const char> bytes) {
  if (bytes.empty() || bytes.size() > kLargestFile) return std::nullopt;
  const std::string_view list(bytes.data(), bytes.size());
  return list.starts_with(kBinaryMark) ? valueOfBinaryList(kBounds, bytes) : valueOfXmlList(list);
}

std::optional<std::string> PropertyLists::xml(const Dictionary& list) {
  const PlainNumbers numbers;
  const List root = NodeMaker{}(list);
  if (!root) return std::nullopt;
  auto text = xmlOf(root.get());
  return text ? std::optional(withWholeYears(std::move(*text))) : std::nullopt;
}

}  // namespace wevora::platform
