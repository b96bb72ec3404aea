// A plug-in of the file manager's, for tests: tells over the session bus what is on the screen, and
// where, and does what a person would do. It knows nothing of the plug-in that is tested.

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QFileInfo>
#include <QGenericPlugin>
#include <QHeaderView>
#include <QListView>
#include <QMainWindow>
#include <QMimeData>
#include <QPaintEvent>
#include <QPointer>
#include <QScreen>
#include <QScrollBar>
#include <QTimer>
#include <QTreeView>
#include <QWindow>
#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#undef signals
#include <gio/gio.h>

#include "Tests/HostSession/ProbeInterface.h"

namespace wevora::testing_host {
namespace {

constexpr int kFrame = 20;  // milliseconds

using Invocation = GDBusMethodInvocation;

/// Counts how often the host's views of items are asked to paint all that is seen of them; single
/// items are painted whenever the host hears of a change of their files.
class Paints : public QObject {
 public:
  guint of(const QWidget* window) const { return counts_.value(window); }

 protected:
  bool eventFilter(QObject* object, QEvent* event) override {
    if (event->type() != QEvent::Paint || !object->isWidgetType()) return false;
    const auto* owner = object->parent();
    const auto* widget = static_cast<QWidget*>(object);
    // The plug-in that is tested sends the host each event once more.
    if (owner != nullptr && owner->inherits("Fm::FolderViewListView") && event != latest_ &&
        static_cast<QPaintEvent*>(event)->rect() == widget->rect())
      ++counts_[widget->window()];
    latest_ = event;
    return false;
  }

 private:
  QHash<const QWidget*, guint> counts_;
  const QEvent* latest_ = nullptr;
};

Paints& paints() {
  // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): it lives as long as the host
  static auto* counting = new Paints();
  return *counting;
}

/// The desktop is a window too, behind all others.
std::vector<QWidget*> hostWindows() {
  static std::vector<QPointer<QWidget>> known;
  for (const char* kind : {"PCManFM::MainWindow", "PCManFM::DesktopWindow"})
    for (QWidget* top : QApplication::topLevelWidgets()) {
      if (!top->inherits(kind) || !top->isVisible()) continue;
      if (std::find(known.begin(), known.end(), top) == known.end()) known.emplace_back(top);
    }
  std::vector<QWidget*> open;
  for (const auto& window : known)
    if (window && window->isVisible()) open.push_back(window);
  return open;
}

/// Windows stand side by side, for none to hide another.
QWidget* windowNumbered(guint number) {
  const auto windows = hostWindows();
  if (number >= windows.size()) return nullptr;
  QWidget* window = windows[number];
  const QPoint place(static_cast<int>(number) * 800, 0);
  if (window->inherits("PCManFM::MainWindow") && window->pos() != place) window->move(place);
  return window;
}

std::vector<QAbstractItemView*> viewsIn(QWidget* window) {
  std::vector<QAbstractItemView*> views;
  for (auto* view : window->findChildren<QAbstractItemView*>())
    if (view->isVisible() &&
        (view->inherits("Fm::FolderViewListView") || view->inherits("Fm::FolderViewTreeView")))
      views.push_back(view);
  return views;
}

std::string uriOf(const QModelIndex& index) {
  const std::unique_ptr<QMimeData> dragged(index.model()->mimeData({index}));
  const QByteArray list = dragged ? dragged->data(QStringLiteral("libfm/files")) : QByteArray();
  return list.left(list.indexOf('\n')).trimmed().toStdString();
}

bool isOnDesktop(const QAbstractItemView& view) {
  return view.parent()->inherits("PCManFM::DesktopWindow");
}

/// The part of an item of an icon view that a person can click to choose it begins with the icon.
QRectF clickableIcon(const QAbstractItemView& view, const QModelIndex& index) {
  const QRect item = view.visualRect(index);
  QPoint corner(item.center().x(), item.top());
  while (corner.y() < item.bottom() && view.indexAt(corner) != index) ++corner.ry();
  while (corner.x() > item.left() && view.indexAt(corner - QPoint(1, 0)) == index) --corner.rx();
  return QRectF(corner, view.iconSize());
}

/// Where an item's icon is, by how the host takes clicks and by the style.
QRectF iconRect(QAbstractItemView& view, const QModelIndex& index) {
  const QRect item = view.visualRect(index);
  const QSize icon = view.iconSize();
  const auto* list = qobject_cast<QListView*>(&view);
  if (list != nullptr && list->viewMode() == QListView::IconMode) return clickableIcon(view, index);
  QStyleOptionViewItem option;
  option.initFrom(&view);
  option.rect = item;
  option.features = QStyleOptionViewItem::HasDecoration | QStyleOptionViewItem::HasDisplay;
  option.decorationSize = icon;
  option.decorationAlignment = Qt::AlignCenter;
  option.decorationPosition = QStyleOptionViewItem::Left;
  option.text = index.data().toString();
  return view.style()->subElementRect(QStyle::SE_ItemViewItemDecoration, &option, &view);
}

/// In the window's picture, in its pixels.
void addPlace(GVariantBuilder& places, const std::string& name, const char* kind,
              const QWidget& view, const QRectF& frame) {
  const double scale = view.devicePixelRatioF();
  const QPointF corner = view.mapTo(view.window(), QPoint(0, 0)) + frame.topLeft();
  char* valid = g_utf8_make_valid(name.c_str(), -1);
  g_variant_builder_add(&places, "(ss(dddd))", valid, kind, corner.x() * scale, corner.y() * scale,
                        frame.width() * scale, frame.height() * scale);
  g_free(valid);
}

GVariant* cellsOf(QWidget* window) {
  GVariantBuilder cells;
  g_variant_builder_init(&cells, G_VARIANT_TYPE("a(ss(dddd))"));
  for (auto* view : viewsIn(window)) {
    const auto* model = view->model();
    const int rows = model == nullptr ? 0 : model->rowCount(view->rootIndex());
    const QRect seen = view->viewport()->rect();
    // A detailed list looks for the place of a row among all rows.
    const bool inOrder = qobject_cast<QTreeView*>(view) != nullptr;
    const int first = inOrder ? qMax(0, view->indexAt({1, 1}).row()) : 0;
    for (int row = first; row < rows; ++row) {
      const auto index = model->index(row, 0, view->rootIndex());
      const QRect place = view->visualRect(index);
      if (inOrder && place.top() > seen.bottom()) break;
      if (!place.intersects(seen) || !QRectF(seen).contains(iconRect(*view, index))) continue;
      const QObject* kind = isOnDesktop(*view) ? view->parent() : view;
      addPlace(cells, uriOf(index), kind->metaObject()->className(), *view->viewport(),
               iconRect(*view, index));
    }
  }
  return g_variant_new("(a(ss(dddd)))", &cells);
}

void addRowsBelow(GVariantBuilder& rows, QAbstractItemView& view, const QModelIndex& parent) {
  const auto* model = view.model();
  for (int row = 0; row < model->rowCount(parent); ++row) {
    const auto index = model->index(row, 0, parent);
    addPlace(rows, index.data().toString().toStdString(), "", *view.viewport(),
             iconRect(view, index));
    addRowsBelow(rows, view, index);
  }
}

GVariant* rowsOf(QWidget* window) {
  GVariantBuilder rows;
  g_variant_builder_init(&rows, G_VARIANT_TYPE("a(ss(dddd))"));
  for (auto* view : window->findChildren<QAbstractItemView*>())
    if (view->inherits("Fm::PlacesView") && view->isVisible()) addRowsBelow(rows, *view, {});
  return g_variant_new("(a(ss(dddd)))", &rows);
}

/// What the display shows, not what the widgets would draw: its width, its height, how many of its
/// pixels are one of a place's points, and its pixels: 32 bits each.
void savePicture(QWidget* window, const std::string& file) {
  const QImage picture = window->windowHandle()
                             ->screen()
                             ->grabWindow(window->winId())
                             .toImage()
                             .convertToFormat(QImage::Format_ARGB32_Premultiplied);
  const std::uint32_t size[] = {static_cast<std::uint32_t>(picture.width()),
                                static_cast<std::uint32_t>(picture.height()), 1};
  std::ofstream out(file, std::ios::binary);
  out.write(reinterpret_cast<const char*>(size), sizeof size);
  out.write(reinterpret_cast<const char*>(picture.constBits()),
            static_cast<std::streamsize>(picture.sizeInBytes()));
}

void answerAfterFrame(Invocation* invocation, const std::function<GVariant*()>& answer = {}) {
  // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): it goes when it is done
  auto* frame = new QTimer(qApp);
  frame->setSingleShot(true);
  QObject::connect(frame, &QTimer::timeout, frame, [frame, invocation, answer] {
    frame->deleteLater();
    g_dbus_method_invocation_return_value(invocation, answer ? answer() : nullptr);
  });
  frame->start(kFrame);
}

void scroll(QWidget* window, double part) {
  for (auto* view : viewsIn(window))
    for (auto* bar : {view->verticalScrollBar(), view->horizontalScrollBar()})
      if (bar->orientation() == Qt::Vertical || qobject_cast<QListView*>(view) != nullptr)
        bar->setValue(static_cast<int>(part * bar->maximum()));
}

void activate(QWidget* window, const char* action) {
  if (auto* found = window->findChild<QAction*>(QLatin1String(action)))
    QMetaObject::invokeMethod(found, "trigger", Qt::QueuedConnection);
}

/// Opens a door that subclasses of a list have.
class Positions : public QListView {
 public:
  static void set(QListView& list, const QModelIndex& index, const QPoint& place) {
    (list.*&Positions::setPositionForIndex)(place, index);
  }
};

void move(QWidget* window, const std::string& uri, const QPoint& place) {
  for (auto* view : viewsIn(window))
    for (int row = 0; row < view->model()->rowCount(); ++row) {
      const auto index = view->model()->index(row, 0);
      auto* list = qobject_cast<QListView*>(view);
      if (list != nullptr && uriOf(index) == uri) Positions::set(*list, index, place);
    }
}

/// As the host does when a person asks for it.
bool eject(const std::string& name) {
  GVolumeMonitor* monitor = g_volume_monitor_get();
  GList* mounts = g_volume_monitor_get_mounts(monitor);
  bool found = false;
  for (GList* one = mounts; one != nullptr; one = one->next) {
    auto* mount = static_cast<GMount*>(one->data);
    char* called = g_mount_get_name(mount);
    if (name == called) {
      found = true;
      g_mount_unmount_with_operation(mount, G_MOUNT_UNMOUNT_NONE, nullptr, nullptr, nullptr,
                                     nullptr);
    }
    g_free(called);
  }
  g_list_free_full(mounts, g_object_unref);
  g_object_unref(monitor);
  return found;
}

void answerOf(QWidget* window, const std::string& method, GVariant* arguments,
              Invocation* invocation) {
  guint number = 0;
  if (method == "Rows") return g_dbus_method_invocation_return_value(invocation, rowsOf(window));
  if (method == "Paints")
    return g_dbus_method_invocation_return_value(invocation,
                                                 g_variant_new("(u)", paints().of(window)));
  const char* text = "";
  if (method == "Look") {
    g_variant_get(arguments, "(u&s)", &number, &text);
    return answerAfterFrame(invocation,
                            [shown = QPointer<QWidget>(window), file = std::string(text)] {
                              if (!shown) return g_variant_new("(a(ss(dddd)))", nullptr);
                              savePicture(shown, file);
                              return cellsOf(shown);
                            });
  }
  if (method == "Eject") {
    g_variant_get(arguments, "(u&s)", &number, &text);
    return g_dbus_method_invocation_return_value(invocation,
                                                 g_variant_new("(b)", eject(text) ? TRUE : FALSE));
  }
  if (method == "Scroll") {
    double part = 0;
    g_variant_get(arguments, "(ud)", &number, &part);
    scroll(window, part);
  } else if (method == "Activate") {
    const char* argument = nullptr;
    g_variant_get(arguments, "(u&s&s)", &number, &text, &argument);
    activate(window, text);
  } else if (method == "Move") {
    double x = 0;
    double y = 0;
    g_variant_get(arguments, "(u&sdd)", &number, &text, &x, &y);
    move(window, text, QPointF(x, y).toPoint());
  } else if (method != "NextFrame") {
    return g_dbus_method_invocation_return_dbus_error(invocation, kProbeError, "not of this host");
  }
  answerAfterFrame(invocation);
}

void answerWindows(Invocation* invocation) {
  GVariantBuilder titles;
  g_variant_builder_init(&titles, G_VARIANT_TYPE("as"));
  for (const QWidget* window : hostWindows())
    g_variant_builder_add(&titles, "s", window->windowTitle().toUtf8().constData());
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(as)", &titles));
}

void called(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method,
            GVariant* arguments, Invocation* invocation, gpointer) noexcept {
  if (std::string(method) == "Windows") return answerWindows(invocation);
  guint number = 0;
  g_variant_get_child(arguments, 0, "u", &number);
  QWidget* window = windowNumbered(number);
  if (window == nullptr)
    return g_dbus_method_invocation_return_dbus_error(invocation, kProbeError, "no such window");
  answerOf(window, method, arguments, invocation);
}

void serve(GDBusConnection* bus, const gchar*, gpointer) noexcept {
  static const GDBusInterfaceVTable table = {&called, nullptr, nullptr, {}};
  GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kProbeXml, nullptr);
  g_dbus_connection_register_object(bus, kProbePath, node->interfaces[0], &table, nullptr, nullptr,
                                    nullptr);
  g_dbus_node_info_unref(node);
}

}  // namespace

void serveProbe() {
  g_bus_own_name(G_BUS_TYPE_SESSION, kProbeName, G_BUS_NAME_OWNER_FLAGS_NONE, &serve, nullptr,
                 nullptr, nullptr, nullptr);
}

class ProbePlugin : public QGenericPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "probe.json")

 public:
  QObject* create(const QString&, const QString&) override {
    QMetaObject::invokeMethod(this, "serve", Qt::QueuedConnection);
    return new QObject();  // NOLINT(cppcoreguidelines-owning-memory): Qt deletes it
  }
  Q_INVOKABLE void serve() {
    qApp->installEventFilter(&paints());
    serveProbe();
  }
};

}  // namespace wevora::testing_host

#include "Probe.moc"
