#include "Tests/PCManFMQtHost/AgentVoice.h"

#include <stdexcept>

#include "Connector/DaemonConnectionNames.h"
#include "Tests/ServiceThread/ServiceThread.h"

namespace wevora::testing_host {

using platform::Array;
using platform::DistributedNotification;
using platform::Value;

AgentVoice::AgentVoice()
    : announcements_(center_.observe(
          kIDaemonConnectionBecomeAvailableNotification, std::nullopt,
          [this](const DistributedNotification& announced) { object_ = announced.object; })) {}

void AgentVoice::learnObject() {
  if (!runMainLoopUntil([this] { return object_.has_value(); }))
    throw std::runtime_error("no agent announces itself");
}

bool AgentVoice::post(const std::string& event, const std::vector<std::string>& paths) {
  if (!object_) learnObject();
  return center_.post({kIDaemonConnectionWVREventNotification,
                       object_,
                       {{kIDaemonConnectionWVREventNotificationPathsKey,
                         Value(Array(paths.begin(), paths.end()))},
                        {kIDaemonConnectionWVREventNotificationEventsKey, Value(Array{event})}}}) &&
         center_.flush();
}

}  // namespace wevora::testing_host
