#include <QByteArrayList>
#include <QCoreApplication>
#include <QFileInfo>
#include <QGenericPlugin>
#include <QMetaObject>

#include "Hosts/Common/Libraries.h"
#include "Platform/Base/Guard.h"

namespace wevora::pcmanfmqt {
namespace {

// The host's side of the bundle, by its installed place, and where it begins.
constexpr const char* kHostLibrary = "/Library/Wevora/FinderPlugin/Hosts/pcmanfm-qt.so";
constexpr const char* kHostEntry = "wevora_pcmanfmqt_start";

constexpr const char* kKey = "wevora";
constexpr const char* kPlugins = "QT_QPA_GENERIC_PLUGINS";

bool isInsideTheHost() {
  return QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget()).fileName() ==
         QLatin1String("pcmanfm-qt");
}

/// What the host starts is not asked to load the plug-in.
void leaveEnvironment() {
  QByteArrayList others = qgetenv(kPlugins).split(',');
  others.removeAll(kKey);
  if (others.isEmpty())
    qunsetenv(kPlugins);
  else
    qputenv(kPlugins, others.join(','));
}

}  // namespace

/// What the plug-in is in the host.
/// Threads: the main thread. Owns: nothing. Errors: as the plug-in.
class Starter : public QObject {
  Q_OBJECT

 public:
  Q_INVOKABLE void start() {
    platform::catchAll([] { hosts::loadAndCall(kHostLibrary, kHostEntry); });
  }
};

/// What Qt loads, into any program that has it named in its environment. It brings no other library
/// of the system, and does nothing but in the host; there, once the host's event loop runs.
/// Threads: the main thread. Owns: nothing. Errors: a plug-in that does nothing.
class Plugin : public QGenericPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "plugin.json")

 public:
  // NOLINTBEGIN(cppcoreguidelines-owning-memory): Qt deletes what is made
  QObject* create(const QString& key, const QString&) override {
    if (key.compare(QLatin1String(kKey), Qt::CaseInsensitive) != 0 || !isInsideTheHost())
      return new QObject();
    leaveEnvironment();
    auto* starter = new Starter();
    QMetaObject::invokeMethod(starter, "start", Qt::QueuedConnection);
    return starter;
  }
  // NOLINTEND(cppcoreguidelines-owning-memory)
};

}  // namespace wevora::pcmanfmqt

#include "Plugin.moc"
