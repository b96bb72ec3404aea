#pragma once

namespace wevora::testing_host {

// The service of the probe inside the file manager, on the session bus.
inline constexpr const char* kProbeName = "com.Wevora.Test.Probe";
inline constexpr const char* kProbePath = "/com/Wevora/Test/Probe";
inline constexpr const char* kProbeError = "com.Wevora.Test.Error";

/// Its methods. `u` as the first argument is the number of a window; a place is a name, a kind and
/// a frame.
inline constexpr const char* kProbeXml = R"xml(
<node><interface name="com.Wevora.Test.Probe">
  <method name="Windows"><arg type="as" direction="out"/></method>
  <method name="AdvanceClock"><arg type="d" direction="in"/></method>
  <method name="Capture"><arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="a(ss(dddd))" direction="out"/></method>
  <method name="Rows"><arg type="u" direction="in"/><arg type="a(ss(dddd))" direction="out"/></method>
  <method name="NextFrame"><arg type="u" direction="in"/></method>
  <method name="Scroll"><arg type="u" direction="in"/><arg type="d" direction="in"/></method>
  <method name="Activate"><arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/></method>
  <method name="Close"><arg type="u" direction="in"/></method>
  <method name="Eject"><arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="b" direction="out"/></method>
  <!-- of a host with a search entry -->
  <method name="Search"><arg type="u" direction="in"/><arg type="s" direction="in"/></method>
  <!-- of a host with a desktop -->
  <method name="Move"><arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="d" direction="in"/><arg type="d" direction="in"/></method>
  <method name="Paints"><arg type="u" direction="in"/><arg type="u" direction="out"/></method>
  <!-- for measurements -->
  <method name="FrameTimes"><arg type="u" direction="in"/><arg type="u" direction="in"/><arg type="d" direction="in"/><arg type="a(dd)" direction="out"/></method>
  <method name="DrawTimes"><arg type="u" direction="in"/><arg type="u" direction="in"/><arg type="a(dd)" direction="out"/></method>
  <method name="TimeUntilPainted"><arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="u" direction="in"/><arg type="d" direction="out"/></method>
</interface></node>)xml";

}  // namespace wevora::testing_host
