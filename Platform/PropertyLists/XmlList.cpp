#include "Platform/PropertyLists/XmlList.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <libxml/parser.h>
#include <memory>
#include <utility>
#include <vector>

#include "Platform/Base/Guard.h"
#include "Platform/PropertyLists/DictionaryBuilder.h"
#include "Platform/PropertyLists/XmlInput.h"
#include "Platform/PropertyLists/XmlScalars.h"

namespace wevora::platform {
namespace {

/// The most attributes of one tag, and namespaces of one list.
constexpr int kMostAttributes = 16;

enum class Tag { list, dictionary, array, key, string, integer, real, date, data, yes, no };

constexpr std::array<std::pair<std::string_view, Tag>, 11> kTags{{{"plist", Tag::list},
                                                                  {"dict", Tag::dictionary},
                                                                  {"array", Tag::array},
                                                                  {"key", Tag::key},
                                                                  {"string", Tag::string},
                                                                  {"integer", Tag::integer},
                                                                  {"real", Tag::real},
                                                                  {"date", Tag::date},
                                                                  {"data", Tag::data},
                                                                  {"true", Tag::yes},
                                                                  {"false", Tag::no}}};

std::optional<Tag> tagOf(std::string_view name) {
  const auto* tag = std::ranges::find(kTags, name, &std::pair<std::string_view, Tag>::first);
  return tag == kTags.end() ? std::nullopt : std::optional(tag->second);
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == text.npos;
}

/// Builds the value from the parser's events; each returns false where the list is invalid.
class ListBuilder {
 public:
  ListBuilder(const XmlListBounds& bounds, const ByteEscapes& escapes)
      : left_(bounds), escapes_(escapes) {}

  bool begin(std::string_view name) {
    const auto tag = tagOf(name);
    if (!tag || leaf_ || left_.values == 0) return false;
    if (!inList_) return std::exchange(inList_, *tag == Tag::list) || inList_;
    --left_.values;
    if (*tag == Tag::list || !(*tag == Tag::key ? mayTakeKey() : mayTakeValue())) return false;
    if (*tag == Tag::dictionary || *tag == Tag::array) {
      if (containers_.size() >= left_.depth) return false;
      containers_.push_back({.isDictionary = *tag == Tag::dictionary});
    } else {
      leaf_ = tag;
      text_.clear();
    }
    return true;
  }

  bool text(std::string_view text) {
    if (!leaf_ || *leaf_ == Tag::yes || *leaf_ == Tag::no) return isBlank(text);
    text_.append(text);
    return true;
  }

  bool end() {
    if (leaf_) return endLeaf(*std::exchange(leaf_, std::nullopt));
    if (containers_.empty()) return std::exchange(isComplete_, root_.has_value()) || isComplete_;
    Container container = std::move(containers_.back());
    containers_.pop_back();
    if (container.key) return false;
    return add(container.isDictionary ? Value(std::move(container.entries).build())
                                      : Value(std::move(container.values)));
  }

  /// The end tag of the root was read.
  bool isComplete() const { return isComplete_; }
  std::optional<Value> take() && { return std::move(root_); }

 private:
  struct Container {
    bool isDictionary;
    Array values = {};
    DictionaryBuilder entries = {};
    std::optional<std::string> key = {};
  };

  bool mayTakeKey() const {
    return !containers_.empty() && containers_.back().isDictionary && !containers_.back().key;
  }
  bool mayTakeValue() const {
    if (containers_.empty()) return !root_;
    return !containers_.back().isDictionary || containers_.back().key;
  }

  bool endLeaf(Tag tag) {
    if (tag == Tag::key) {
      containers_.back().key = escapes_.unescape(std::move(text_));
      return true;
    }
    auto value = leafOf(tag);
    return value && add(std::move(*value));
  }

  std::optional<Value> leafOf(Tag tag) {
    switch (tag) {
      case Tag::string:
        return escapes_.unescape(std::move(text_));
      case Tag::integer:
        return integerOfXml(text_);
      case Tag::real:
        return realOfXml(text_);
      case Tag::date:
        return dateOfXml(text_);
      case Tag::data:
        return dataOfXml(text_);
      default:
        return tag == Tag::yes;
    }
  }

  bool add(Value value) {
    if (containers_.empty()) {
      root_ = std::move(value);
    } else if (Container& container = containers_.back(); container.isDictionary) {
      container.entries.set(*std::exchange(container.key, std::nullopt), std::move(value));
    } else {
      container.values.push_back(std::move(value));
    }
    return true;
  }

  XmlListBounds left_;
  const ByteEscapes& escapes_;
  bool inList_ = false;
  bool isComplete_ = false;
  std::vector<Container> containers_;
  std::optional<Tag> leaf_;
  std::string text_;
  std::optional<Value> root_;
};

struct FreeParser {
  void operator()(xmlParserCtxt* parser) const noexcept {
    if (parser->myDoc != nullptr) xmlFreeDoc(parser->myDoc);
    xmlFreeParserCtxt(parser);
  }
};

/// Runs the library's push parser: it gets token by token and nothing behind the root's end tag.
/// Entities are never expanded, and no file or address is opened.
/// Errors: an exception never passes through the library; it ends the parse.
class Parser {
 public:
  explicit Parser(const XmlListBounds& bounds) : builder_(bounds, escapes_) {
    static const bool kReady = [] {
      xmlInitParser();
      return true;
    }();
    auto handlers = eventHandlers();
    if (kReady) parser_.reset(xmlCreatePushParserCtxt(&handlers, this, nullptr, 0, nullptr));
    // The bounds are those of this file: the library's own depend on its version.
    if (parser_)
      xmlCtxtUseOptions(parser_.get(), XML_PARSE_NONET | XML_PARSE_IGNORE_ENC | XML_PARSE_HUGE);
  }

  std::optional<Value> run(std::string_view text) {
    if (!parser_) return std::nullopt;
    while (!text.empty() && !failed_ && !builder_.isComplete()) {
      const auto length = lengthOfXmlToken(text);
      const auto token = length == 0 ? std::nullopt : escapes_.escape(text.substr(0, length));
      if (!token) return std::nullopt;
      xmlParseChunk(parser_.get(), token->data(), static_cast<int>(token->size()), 0);
      text.remove_prefix(length);
    }
    if (failed_ || !builder_.isComplete()) return std::nullopt;
    return std::move(builder_).take();
  }

 private:
  static std::string_view viewOf(const xmlChar* text, std::size_t size) {
    return {reinterpret_cast<const char*>(text), size};
  }

  template <class Event>
  static void handle(void* self, const Event& event) noexcept {
    auto& parser = *static_cast<Parser*>(self);
    if (parser.failed_) return;
    bool good = false;
    catchAll([&] { good = event(parser); });
    if (!good) parser.fail();
  }

  void fail() noexcept {
    failed_ = true;
    xmlStopParser(parser_.get());
  }

  static void failOn(void* self) noexcept {
    handle(self, [](Parser&) { return false; });
  }

  static xmlSAXHandler eventHandlers() {
    xmlSAXHandler handlers{};
    handlers.initialized = XML_SAX2_MAGIC;
    handlers.startElementNs = [](void* self, const xmlChar* name, const xmlChar* prefix,
                                 const xmlChar*, int namespaces, const xmlChar**, int attributes,
                                 int, const xmlChar**) {
      handle(self, [&](Parser& parser) {
        parser.namespaces_ += namespaces;
        if (prefix != nullptr || attributes > kMostAttributes ||
            parser.namespaces_ > kMostAttributes)
          return false;
        const auto* text = reinterpret_cast<const char*>(name);
        return parser.builder_.begin(text);
      });
    };
    handlers.endElementNs = [](void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
      handle(self, [](Parser& parser) { return parser.builder_.end(); });
    };
    handlers.characters = [](void* self, const xmlChar* text, int size) {
      handle(self, [&](Parser& parser) {
        return parser.builder_.text(viewOf(text, static_cast<std::size_t>(size)));
      });
    };
    handlers.ignorableWhitespace = handlers.characters;
    handlers.cdataBlock = handlers.characters;
    // Called for entities other than the five of XML.
    handlers.getEntity = [](void* self, const xmlChar*) -> xmlEntity* {
      failOn(self);
      return nullptr;
    };
    handlers.getParameterEntity = handlers.getEntity;
    handlers.reference = [](void* self, const xmlChar*) { failOn(self); };
    // Declarations of the document type: entities to expand, and defaults for attributes.
    handlers.entityDecl = [](void* self, const xmlChar*, int, const xmlChar*, const xmlChar*,
                             xmlChar*) { failOn(self); };
    handlers.unparsedEntityDecl = [](void* self, const xmlChar*, const xmlChar*, const xmlChar*,
                                     const xmlChar*) { failOn(self); };
    handlers.notationDecl = [](void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
      failOn(self);
    };
    handlers.elementDecl = [](void* self, const xmlChar*, int, xmlElementContent*) {
      failOn(self);
    };
    handlers.attributeDecl = [](void* self, const xmlChar*, const xmlChar*, int, int,
                                const xmlChar*, xmlEnumeration* choices) {
      xmlFreeEnumeration(choices);
      failOn(self);
    };
    setErrorHandler(handlers);
    return handlers;
  }

  /// Of this parser alone. Without it the library writes to the standard error.
  static void setErrorHandler(xmlSAXHandler& handlers) {
#if LIBXML_VERSION >= 21200
    handlers.serror = [](void* self, const xmlError* error) { reportError(self, error); };
#else
    handlers.serror = [](void* self, xmlError* error) { reportError(self, error); };
#endif
  }

  /// A warning, such as for a namespace that is no absolute address, does no harm.
  static void reportError(void* self, const xmlError* error) noexcept {
    if (error != nullptr && error->level >= XML_ERR_ERROR) failOn(self);
  }

  ByteEscapes escapes_;
  ListBuilder builder_;
  std::unique_ptr<xmlParserCtxt, FreeParser> parser_;
  int namespaces_ = 0;
  bool failed_ = false;
};

}  // namespace

std::optional<Value> valueOfXmlList(const XmlListBounds& bounds, std::string_view bytes) {
  const auto text = decodedXml(bytes);
  return text ? Parser(bounds).run(*text) : std::nullopt;
}

}  // namespace wevora::platform
