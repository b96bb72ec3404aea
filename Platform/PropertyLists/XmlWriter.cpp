#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "Platform/PropertyLists/ListText.h"
#include "Platform/PropertyLists/XmlList.h"
#include "Platform/PropertyLists/XmlScalars.h"

namespace wevora::platform {
namespace {

constexpr const char* kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

/// Writes values, one element per line; each function returns false where a value has no XML form.
class Writer {
 public:
  explicit Writer(std::size_t depth) : deepest_(depth) {}

  bool write(const Value& value) { return value.visit(*this); }
  std::string take() && { return std::move(text_); }

  bool operator()(bool flag) { return line(flag ? "<true/>" : "<false/>"); }
  bool operator()(std::int64_t number) { return element("integer", std::to_string(number)); }
  bool operator()(std::uint64_t number) { return element("integer", std::to_string(number)); }
  bool operator()(double number) { return element("real", xmlOfReal(number)); }
  bool operator()(const std::string& text) { return element("string", escaped(text)); }
  bool operator()(const Date& date) { return element("date", xmlOfDate(date)); }
  bool operator()(const Opaque&) { return false; }

  /// In lines of 76 columns, where a tab counts as 8.
  bool operator()(const Data& data) {
    constexpr std::size_t kColumns = 76;
    constexpr std::size_t kTab = 8;
    constexpr std::size_t kFewest = 16;
    const auto width = std::max(kColumns - std::min(kColumns, kTab * depth_), kFewest);
    const auto base64 = base64Of(data);
    line("<data>");
    for (std::size_t i = 0; i < base64.size(); i += width) line(base64.substr(i, width));
    return line("</data>");
  }

  bool operator()(const Array& array) {
    if (array.empty()) return line("<array/>");
    return container("array", [&] {
      return std::ranges::all_of(array, [&](const Value& value) { return write(value); });
    });
  }

  bool operator()(const Dictionary& dictionary) {
    if (dictionary.empty()) return line("<dict/>");
    return container("dict", [&] {
      return std::ranges::all_of(dictionary, [&](const Dictionary::Entry& entry) {
        return element("key", escaped(entry.first)) && write(entry.second);
      });
    });
  }

 private:
  bool line(std::string_view text) {
    text_.append(depth_, '\t').append(text) += '\n';
    return true;
  }

  bool element(const std::string& tag, const std::optional<std::string>& text) {
    return text && line("<" + tag + ">" + *text + "</" + tag + ">");
  }

  template <class Contents>
  bool container(const std::string& tag, const Contents& contents) {
    if (depth_ >= deepest_) return false;
    line("<" + tag + ">");
    ++depth_;
    if (!contents()) return false;
    --depth_;
    return line("</" + tag + ">");
  }

  /// A carriage return needs a reference: a reader takes a line end of its own for it.
  static std::optional<std::string> escaped(const std::string& text) {
    if (!isListText(text)) return std::nullopt;
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
      if (c == '&')
        result += "&amp;";
      else if (c == '<')
        result += "&lt;";
      else if (c == '>')
        result += "&gt;";
      else if (c == '\r')
        result += "&#13;";
      else
        result += c;
    }
    return result;
  }

  const std::size_t deepest_;
  std::size_t depth_ = 0;
  std::string text_ = kHead;
};

}  // namespace

std::optional<std::string> xmlOfList(std::size_t depth, const Dictionary& list) {
  Writer writer(depth);
  if (!writer(list)) return std::nullopt;
  return std::move(writer).take() + "</plist>\n";
}

}  // namespace wevora::platform
