#pragma once

#include <optional>
#include <string>

#include "Connector/IDaemonConnection.h"

namespace wevora {

/// Answers a method of the wire, or a property, with what the agent's object answers: the result,
/// where the method has one, and then its out arguments. None for a method that is not the
/// protocol's, and for arguments that are not the method's.
std::optional<platform::Array> answerOfDaemonConnection(IDaemonConnection& agent,
                                                        const std::string& method,
                                                        const platform::Array& arguments);

}  // namespace wevora
