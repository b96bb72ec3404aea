// A Qt program that is not the file manager, though its view has the name of one of the file
// manager's classes: prints what a plug-in could have changed in it.

#include <QApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QListView>
#include <QStringListModel>
#include <QTextStream>
#include <QTimer>

namespace Fm {

class FolderViewListView : public QListView {
  Q_OBJECT
 public:
  using QListView::QListView;
};

}  // namespace Fm

namespace {

QString libraries() {
  QFile maps(QStringLiteral("/proc/self/maps"));
  maps.open(QIODevice::ReadOnly);
  QStringList ours;
  for (const QByteArray& line : maps.readAll().split('\n')) {
    const QByteArray name = line.mid(line.lastIndexOf('/') + 1);
    const bool known =
        name.contains("wevora") || name.contains("finder_bundle") || name == "pcmanfm-qt.so";
    if (known && !name.contains("other_qt_program")) ours << QString::fromUtf8(name);
  }
  ours.removeDuplicates();
  return ours.join(' ');
}

int entriesOf(const char* folder) {
  return QDir(QLatin1String(folder))
      .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
      .size();
}

void report(const QWidget& view) {
  const QImage picture = const_cast<QWidget&>(view).grab().toImage();
  const QByteArray pixels(reinterpret_cast<const char*>(picture.constBits()),
                          static_cast<int>(picture.sizeInBytes()));
  QTextStream(stdout) << "threads " << entriesOf("/proc/self/task") << "\nfiles "
                      << entriesOf("/proc/self/fd") << "\npicture "
                      << QCryptographicHash::hash(pixels, QCryptographicHash::Md5).toHex()
                      << "\nlibraries " << libraries() << "\n";
}

}  // namespace

int main(int count, char** arguments) {
  const QApplication application(count, arguments);
  QStringListModel model({QStringLiteral("one"), QStringLiteral("two")});
  Fm::FolderViewListView view;
  view.setModel(&model);
  view.show();
  // Once everything that was posted while the program started is done.
  QTimer started;
  QObject::connect(&started, &QTimer::timeout, &view, [&] {
    report(view);
    QApplication::quit();
  });
  started.start(0);
  return QApplication::exec();
}

#include "OtherProgram.moc"
