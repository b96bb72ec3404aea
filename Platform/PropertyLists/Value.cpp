#include "Platform/PropertyLists/Value.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace wevora::platform {
namespace {

bool textIsTrue(std::string_view text) {
  const auto skip = [&](std::string_view characters) {
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
  };
  skip(" \t\n\v\f\r");
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
  skip("0");
  return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != text.npos;
}

constexpr double kTooLarge = 9223372036854775808.0;  // 2^63

std::int64_t truncated(double number) {
  if (std::isnan(number)) return 0;
  if (number >= kTooLarge) return std::numeric_limits<std::int64_t>::max();
  if (number < -kTooLarge) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(number);
}

}  // namespace

Dictionary::Dictionary() = default;
Dictionary::Dictionary(std::initializer_list<Entry> entries) {
  for (const auto& [key, value] : entries) set(key, value);
}
Dictionary::~Dictionary() = default;
Dictionary::Dictionary(const Dictionary&) = default;
Dictionary::Dictionary(Dictionary&&) noexcept = default;
Dictionary& Dictionary::operator=(const Dictionary&) = default;
Dictionary& Dictionary::operator=(Dictionary&&) noexcept = default;

void Dictionary::set(std::string_view key, Value value) {
  if (Value* place = find(key))
    *place = std::move(value);
  else
    entries_.emplace_back(std::string(key), std::move(value));
}

void Dictionary::append(std::string key, Value value) {
  entries_.emplace_back(std::move(key), std::move(value));
}

const Value* Dictionary::find(std::string_view key) const {
  const auto place = std::ranges::find(entries_, key, &Entry::first);
  return place == entries_.end() ? nullptr : &place->second;
}

Value* Dictionary::find(std::string_view key) {
  const auto place = std::ranges::find(entries_, key, &Entry::first);
  return place == entries_.end() ? nullptr : &place->second;
}

std::size_t Dictionary::size() const noexcept {
  return entries_.size();
}

std::vector<Dictionary::Entry>::const_iterator Dictionary::begin() const {
  return entries_.begin();
}

std::vector<Dictionary::Entry>::const_iterator Dictionary::end() const {
  return entries_.end();
}

bool operator==(const Dictionary& a, const Dictionary& b) {
  return a.size() == b.size() && std::ranges::all_of(a, [&](const Dictionary::Entry& entry) {
           const Value* other = b.find(entry.first);
           return other != nullptr && *other == entry.second;
         });
}

bool operator==(const Value& a, const Value& b) {
  return a.held_ == b.held_;
}

Value::Value(std::uint64_t value) {
  if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
    held_ = static_cast<std::int64_t>(value);
  else
    held_ = value;
}

bool Value::boolValue() const {
  if (const auto* flag = as<bool>()) return *flag;
  if (const auto* number = as<std::int64_t>()) return *number != 0;
  if (const auto* number = as<std::uint64_t>()) return *number != 0;
  if (const auto* number = as<double>()) return *number != 0;
  if (const auto* text = as<std::string>()) return textIsTrue(*text);
  return false;
}

std::int64_t Value::longLongValue() const {
  if (const auto* flag = as<bool>()) return *flag ? 1 : 0;
  if (const auto* number = as<std::int64_t>()) return *number;
  if (as<std::uint64_t>() != nullptr) return std::numeric_limits<std::int64_t>::max();
  if (const auto* number = as<double>()) return truncated(*number);
  // Overflow is bounded by the function itself.
  if (const auto* text = as<std::string>()) return std::strtoll(text->c_str(), nullptr, 10);
  return 0;
}

std::uint64_t Value::unsignedLongLongValue() const {
  if (const auto* number = as<std::uint64_t>()) return *number;
  if (const auto* number = as<double>(); number != nullptr && *number >= kTooLarge)
    return *number >= 2 * kTooLarge ? std::numeric_limits<std::uint64_t>::max()
                                    : static_cast<std::uint64_t>(*number);
  if (const auto* text = as<std::string>(); text != nullptr && longLongValue() > 0)
    return std::strtoull(text->c_str(), nullptr, 10);
  return static_cast<std::uint64_t>(std::max<std::int64_t>(longLongValue(), 0));
}

std::vector<std::string> textsIn(const Value& array) {
  std::vector<std::string> texts;
  const auto* values = array.as<Array>();
  if (values == nullptr) return texts;
  texts.reserve(values->size());
  for (const auto& value : *values)
    if (const auto* text = value.as<std::string>()) texts.push_back(*text);
  return texts;
}

std::vector<std::string> textsIn(const Dictionary& dictionary, std::string_view key) {
  const Value* array = dictionary.find(key);
  return array == nullptr ? std::vector<std::string>() : textsIn(*array);
}

}  // namespace wevora::platform
