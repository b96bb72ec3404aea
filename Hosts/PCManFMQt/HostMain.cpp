#include <QAbstractEventDispatcher>
#include <iostream>
#include <utility>

#include "Hosts/Common/Bundle.h"
#include "Hosts/PCManFMQt/Host.h"
#include "Hosts/PCManFMQt/HostViews.h"
#include "Platform/Base/Guard.h"

namespace wevora::pcmanfmqt {
namespace {

/// The main queue is a source of GLib's default context.
bool runsOnGLib() {
  const auto* dispatcher = QAbstractEventDispatcher::instance();
  return dispatcher != nullptr && dispatcher->inherits("QEventDispatcherGlib");
}

/// The bundle looks the host's classes up while it loads. Without a bundle the host's views are
/// left alone. An environment may name the plug-in more than once.
void start() {
  static bool started = false;
  if (std::exchange(started, true)) return;
  if (!runsOnGLib()) {
    std::cerr << "wevora: Qt does not run on GLib's main loop here; there will be no badges\n";
    return;
  }
  static platform::NeverDestroyed<Host> host(platform::Runtime::shared());
  static platform::NeverDestroyed<HostViews> views(*host);
  if (hosts::loadBundle()) views->watch();
}

}  // namespace
}  // namespace wevora::pcmanfmqt

extern "C" [[gnu::visibility("default")]] void wevora_pcmanfmqt_start() noexcept {
  wevora::platform::catchAll(&wevora::pcmanfmqt::start);
}
