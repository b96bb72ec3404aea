#pragma once

#include <optional>
#include <string>

#include "Platform/PropertyLists/Value.h"

namespace wevora {

/// Sets the four keys to their defaults, whatever they were, and again in the account's own
/// dictionary where there is an account.
void setDefaultSettings(platform::Dictionary& settings, const std::optional<std::string>& accId);

}  // namespace wevora
