#include <QByteArrayList>
#include <QCoreApplication>
#include <QFileInfo>
#include <QGenericPlugin>
#include <QMetaObject>

#include "Hosts/Common/Libraries.h"
#include "Platform/Base/Guard.h"

namespace wevora::pcmanfmqt {
namespace {

// The installed library with the host's side of the bundle, and its entry point.
constexpr const char* kHostLibrary = "/Library/Wevora/FinderPlugin/Hosts/pcmanfm-qt.so";
constexpr const char* kHostEntry = "wevora_pcmanfmqt_start";

constexpr const char* kKey = "wevora";
constexpr const char* kPlugins = "QT_QPA_GENERIC_PLUGINS";

bool isInsidePCManFMQt() {
  return QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget()).fileName() ==
         QLatin1String("pcmanfm-qt");
}

/// Removes the plug-in from the environment, so that the host's child processes do not load it.
void cleanEnvironment() {
  QByteArrayList others = qgetenv(kPlugins).split(',');
  others.removeAll(kKey);
  if (others.isEmpty())
    qunsetenv(kPlugins);
  else
    qputenv(kPlugins, others.join(','));
}

}  // namespace

/// The plug-in's object inside the host: loads the host's side.
class Starter : public QObject {
  Q_OBJECT

 public:
  Q_INVOKABLE void start() {
    platform::catchAll([] { hosts::loadAndCall(kHostLibrary, kHostEntry); });
  }
};

/// The generic Qt plug-in. Qt loads it into any program whose environment lists it, so it links
/// only to small dependencies and does nothing outside of pcmanfm-qt. Inside, it loads the host's
/// side when the event loop runs.
class Plugin : public QGenericPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "plugin.json")

 public:
  // NOLINTBEGIN(cppcoreguidelines-owning-memory): Qt takes ownership
  QObject* create(const QString& key, const QString&) override {
    if (key.compare(QLatin1String(kKey), Qt::CaseInsensitive) != 0 || !isInsidePCManFMQt())
      return new QObject();
    cleanEnvironment();
    auto* starter = new Starter();
    QMetaObject::invokeMethod(starter, "start", Qt::QueuedConnection);
    return starter;
  }
  // NOLINTEND(cppcoreguidelines-owning-memory)
};

}  // namespace wevora::pcmanfmqt

#include "Plugin.moc"
