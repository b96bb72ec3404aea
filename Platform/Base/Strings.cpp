#include "Platform/Base/Strings.h"

#include <array>
#include <memory>

#include <glib.h>

#include "Platform/Base/GObjectPtr.h"

namespace wevora::platform {
namespace {

constexpr std::size_t kMaxUtf8Bytes = 6;  // buffer size that g_unichar_to_utf8 requires

// Letters whose lower case depends on context or is more than one character.
constexpr gunichar kCapitalIWithDot = 0x130;
constexpr gunichar kDotAbove = 0x307;
constexpr gunichar kCapitalSigma = 0x3A3;
constexpr gunichar kSmallSigma = 0x3C3;
constexpr gunichar kFinalSigma = 0x3C2;

bool isAscii(std::string_view text) {
  for (const char c : text)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

std::string asciiLowercased(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char c : text) result += g_ascii_tolower(c);
  return result;
}

/// The first code point of a non-empty text; nullopt if it does not start with valid UTF-8.
std::optional<gunichar> firstCode(std::string_view text) {
  const gunichar code = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
  if (code == static_cast<gunichar>(-1) || code == static_cast<gunichar>(-2)) return std::nullopt;
  return code;
}

std::size_t sizeOf(gunichar code) {
  return static_cast<std::size_t>(g_unichar_to_utf8(code, nullptr));
}

void append(std::string& text, gunichar code) {
  std::array<char, kMaxUtf8Bytes> bytes{};
  text.append(bytes.data(), static_cast<std::size_t>(g_unichar_to_utf8(code, bytes.data())));
}

/// Whether the text starts with a letter, skipping combining marks.
bool beginsWithLetter(std::string_view text) {
  while (!text.empty()) {
    const auto code = firstCode(text);
    if (!code) return false;
    if (!g_unichar_ismark(*code)) return g_unichar_isalpha(*code) != FALSE;
    text.remove_prefix(sizeOf(*code));
  }
  return false;
}

/// Whether the text ends with a letter, skipping combining marks.
bool endsWithLetter(std::string_view text) {
  while (!text.empty()) {
    const char* last = g_utf8_find_prev_char(text.data(), text.data() + text.size());
    if (last == nullptr) return false;
    const auto place = static_cast<std::size_t>(last - text.data());
    const auto code = firstCode(text.substr(place));
    if (!code) return false;
    if (!g_unichar_ismark(*code)) return g_unichar_isalpha(*code) != FALSE;
    text = text.substr(0, place);
  }
  return false;
}

int hexDigit(char c) {
  return g_ascii_xdigit_value(c);
}

}  // namespace

bool isUtf8(std::string_view text) {
  return g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

std::string_view withoutTrailingSeparators(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

std::optional<std::string_view> PathComponents::next() {
  if (!started_) {
    started_ = true;
    if (!rest_.empty() && rest_.front() == '/') return rest_.substr(0, 1);
  }
  const auto begin = rest_.find_first_not_of('/');
  if (begin == std::string_view::npos) return std::nullopt;
  rest_.remove_prefix(begin);
  const auto component = rest_.substr(0, rest_.find('/'));
  rest_.remove_prefix(component.size());
  return component;
}

std::vector<std::string> pathComponents(std::string_view path) {
  std::vector<std::string> components;
  PathComponents walk(path);
  while (const auto component = walk.next()) components.emplace_back(*component);
  return components;
}

std::string standardizedPath(std::string_view path) {
  const bool absolute = !path.empty() && path.front() == '/';
  std::vector<std::string_view> kept;
  PathComponents walk(path);
  while (const auto component = walk.next()) {
    if (*component == "." || *component == "/") continue;
    if (*component == "..") {
      if (!kept.empty() && kept.back() != "..") {
        kept.pop_back();
        continue;
      }
      if (absolute) continue;
    }
    kept.push_back(*component);
  }
  std::string result;
  result.reserve(path.size());
  if (absolute) result += '/';
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (i > 0) result += '/';
    result += kept[i];
  }
  return result;
}

std::string_view lastPathComponent(std::string_view path) {
  path = withoutTrailingSeparators(path);
  if (path == "/") return path;
  const auto separator = path.rfind('/');
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::string_view pathWithoutLastComponent(std::string_view path) {
  path = withoutTrailingSeparators(path);
  const auto separator = path.rfind('/');
  if (separator == std::string_view::npos) return {};
  return withoutTrailingSeparators(path.substr(0, separator + 1));
}

std::string pathByAppendingComponent(std::string_view path, std::string_view component) {
  std::string result(withoutTrailingSeparators(path));
  while (!component.empty() && component.front() == '/') component.remove_prefix(1);
  if (component.empty()) return result;
  component = withoutTrailingSeparators(component);
  if (!result.empty() && result.back() != '/') result += '/';
  result += component;
  return result;
}

Character firstCharacter(std::string_view text) {
  if (static_cast<unsigned char>(text.front()) < 0x80) return {1, 1};
  const auto code = firstCode(text);
  if (!code) return {1, 1};
  return {sizeOf(*code), *code > 0xFFFF ? 2U : 1U};
}

std::size_t utf16Length(std::string_view text) {
  if (isAscii(text)) return text.size();
  std::size_t units = 0;
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    units += character.units;
    text.remove_prefix(character.bytes);
  }
  return units;
}

// Does not use g_utf8_strdown, which depends on the host's locale: a Turkish locale would map the
// same path to a different text.
std::string lowercased(std::string_view text) {
  if (isAscii(text)) return asciiLowercased(text);
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    if (const char first = text.front(); static_cast<unsigned char>(first) < 0x80) {
      result += g_ascii_tolower(first);
      text.remove_prefix(1);
      continue;
    }
    const auto code = firstCode(text);
    const auto bytes = text.substr(0, code ? sizeOf(*code) : 1);
    text.remove_prefix(bytes.size());
    if (!code)
      result += bytes;
    else if (*code == kCapitalIWithDot)
      append(result += 'i', kDotAbove);
    else if (*code == kCapitalSigma)
      append(result, endsWithLetter(result) && !beginsWithLetter(text) ? kFinalSigma : kSmallSigma);
    else
      append(result, g_unichar_tolower(*code));
  }
  return result;
}

std::string caseFolded(std::string_view text) {
  if (isAscii(text)) return asciiLowercased(text);
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const char* end = nullptr;
    g_utf8_validate_len(text.data(), text.size(), &end);
    const auto valid = text.substr(0, static_cast<std::size_t>(end - text.data()));
    result += GText(g_utf8_casefold(valid.data(), static_cast<gssize>(valid.size()))).get();
    text.remove_prefix(valid.size());
    if (text.empty()) break;
    result += text.front();
    text.remove_prefix(1);
  }
  return result;
}

std::string randomUUID() {
  return GText(g_uuid_string_random()).get();
}

std::string percentEncodedPath(std::string_view path) {
  static constexpr std::string_view kHex = "0123456789ABCDEF";
  static constexpr std::string_view kAllowed = "/-._~!$&'()*+,;=:@";
  std::string result;
  result.reserve(path.size());
  for (const char c : path) {
    if (g_ascii_isalnum(c) || kAllowed.find(c) != std::string_view::npos) {
      result += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      result += '%';
      result += kHex[byte >> 4U];
      result += kHex[byte & 0xFU];
    }
  }
  return result;
}

std::optional<std::string> pathFromFileUrl(std::string_view url) {
  static constexpr std::string_view kScheme = "file://";
  if (!url.starts_with(kScheme)) return std::nullopt;
  url.remove_prefix(kScheme.size());
  const auto slash = url.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const auto host = url.substr(0, slash);
  if (!host.empty() && host != "localhost") return std::nullopt;
  url.remove_prefix(slash);
  std::string path;
  path.reserve(url.size());
  for (std::size_t i = 0; i < url.size(); ++i) {
    if (url[i] != '%') {
      path += url[i];
      continue;
    }
    if (i + 2 >= url.size()) return std::nullopt;
    const int high = hexDigit(url[i + 1]);
    const int low = hexDigit(url[i + 2]);
    if (high < 0 || low < 0 || (high == 0 && low == 0)) return std::nullopt;
    path += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return path;
}

}  // namespace wevora::platform
