#pragma once

#include <optional>
#include <string>

#include "Platform/PropertyLists/Value.h"

namespace wevora {

/// Sets the four keys to their defaults, overwriting their values, and also in the account's own
/// dictionary where an account is given.
void setDefaultSettings(platform::Dictionary& settings, const std::optional<std::string>& accId);

}  // namespace wevora
