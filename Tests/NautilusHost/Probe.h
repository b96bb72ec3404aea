#pragma once

namespace wevora::testing_host {

/// In the file manager: serves the probe until the process ends.
void startProbe();

}  // namespace wevora::testing_host
