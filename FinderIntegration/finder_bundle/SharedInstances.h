#pragma once

#include <functional>

namespace wevora {

class WVFinderTools;
class WVIconProvider;

/// The shared instances, which are made by the first one who asks for them: a hook that is
/// installed asks when it draws.
using ProviderAccess = std::function<WVIconProvider&()>;
using FinderToolsAccess = std::function<WVFinderTools&()>;

}  // namespace wevora
