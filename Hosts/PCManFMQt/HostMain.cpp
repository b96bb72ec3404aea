#include <QAbstractEventDispatcher>
#include <iostream>
#include <utility>

#include "Hosts/Common/Bundle.h"
#include "Hosts/PCManFMQt/Host.h"
#include "Hosts/PCManFMQt/HostViews.h"
#include "Platform/Base/Guard.h"

namespace wevora::pcmanfmqt {
namespace {

/// The main queue is a GSource on the default GMainContext, so Qt must run GLib's main loop.
bool runsOnGLib() {
  const auto* dispatcher = QAbstractEventDispatcher::instance();
  return dispatcher != nullptr && dispatcher->inherits("QEventDispatcherGlib");
}

/// Registers the host's classes first, because the bundle looks them up while it loads. Without a
/// bundle, the host's views are not touched. Does nothing the second time: the environment may list
/// the plug-in more than once.
void start() {
  static bool started = false;
  if (std::exchange(started, true)) return;
  if (!runsOnGLib()) {
    std::cerr << "wevora: badges are disabled: Qt does not run GLib's main loop (unset "
                 "QT_NO_GLIB)\n";
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
