#pragma once

#include <functional>

namespace wevora {

class WVFinderTools;
class WVIconProvider;

/// Accessors of the shared instances, which are created on first call. An installed hook calls them
/// when it draws.
using ProviderAccess = std::function<WVIconProvider&()>;
using FinderToolsAccess = std::function<WVFinderTools&()>;

}  // namespace wevora
