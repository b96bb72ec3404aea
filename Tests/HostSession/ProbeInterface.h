#pragma once

namespace wevora::testing_host {

// Where the probe inside the file manager answers, on the session bus.
inline constexpr const char* kProbeName = "com.Wevora.Test.Probe";
inline constexpr const char* kProbePath = "/com/Wevora/Test/Probe";
inline constexpr const char* kProbeError = "com.Wevora.Test.Error";

/// In the file manager: begins to answer.
void serveProbe();

}  // namespace wevora::testing_host
