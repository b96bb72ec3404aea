#pragma once

#include <string>
#include <string_view>

#include "Platform/Base/Clock.h"

namespace wevora {

/// A string with its creation date.
class WVStringWithCreationDate {
 public:
  // -initWithString:
  WVStringWithCreationDate(std::string_view initWithString, const platform::Clock& clock)
      : string_(initWithString), creationDate_(clock.now()) {}

  // -string
  const std::string& string() const noexcept { return string_; }
  // -creationDate
  const platform::Date& creationDate() const noexcept { return creationDate_; }

  /// Compares the text only; false for null.
  // -isEqualTo:
  bool isEqualTo(const WVStringWithCreationDate* other) const {
    return other != nullptr && other->string_ == string_;
  }
  // -isEqualToString:
  bool isEqualToString(std::string_view text) const { return string_ == text; }

 private:
  std::string string_;
  platform::Date creationDate_;
};

}  // namespace wevora
