#pragma once

#include <optional>
#include <string>

#include "Connector/IDaemonConnection.h"

namespace wevora {

/// Calls the agent's method, or reads its property, for a message from the wire. Returns the
/// result, if the method has one, followed by the out arguments. nullopt if the method is unknown
/// or the number of arguments is wrong.
std::optional<platform::Array> callDaemonConnection(IDaemonConnection& agent,
                                                    const std::string& method,
                                                    const platform::Array& arguments);

}  // namespace wevora
