// A plug-in of the file manager, for tests: reports over the session bus what is on the screen, and
// where, and performs a user's actions. It does not depend on the plug-in that is tested.

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
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#undef signals
#include <gio/gio.h>

#include "Tests/HostSession/ProbeServer.h"

namespace wevora::testing_host {
namespace {

constexpr int kFrame = 20;  // milliseconds

using Invocation = GDBusMethodInvocation;

/// Counts how often the host's views of items paint their whole visible area. Single items are not
/// counted: the host paints them when their files change.
class Paints : public QObject {
 public:
  guint of(const QWidget* window) const { return counts_.value(window); }

 protected:
  bool eventFilter(QObject* object, QEvent* event) override {
    if (event->type() != QEvent::Paint || !object->isWidgetType()) return false;
    const auto* owner = object->parent();
    const auto* widget = static_cast<QWidget*>(object);
    // The plug-in that is tested sends each event to the host again.
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

/// Places the windows side by side, so that no window hides another.
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

/// The clickable part of an item of an icon view begins with the icon.
QRectF clickableIcon(const QAbstractItemView& view, const QModelIndex& index) {
  const QRect item = view.visualRect(index);
  QPoint corner(item.center().x(), item.top());
  while (corner.y() < item.bottom() && view.indexAt(corner) != index) ++corner.ry();
  while (corner.x() > item.left() && view.indexAt(corner - QPoint(1, 0)) == index) --corner.rx();
  return QRectF(corner, view.iconSize());
}

/// The icon's rectangle, from the host's hit test or from the style.
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
void addPlace(PlaceList& places, const std::string& name, const char* kind, const QWidget& view,
              const QRectF& frame) {
  const double scale = view.devicePixelRatioF();
  const QPointF corner = view.mapTo(view.window(), QPoint(0, 0)) + frame.topLeft();
  places.add(name, kind, corner.x() * scale, corner.y() * scale, frame.width() * scale,
             frame.height() * scale);
}

GVariant* cellsOf(QWidget* window) {
  PlaceList cells;
  for (auto* view : viewsIn(window)) {
    const auto* model = view->model();
    const int rows = model == nullptr ? 0 : model->rowCount(view->rootIndex());
    const QRect seen = view->viewport()->rect();
    // A detailed list finds the place of a row by visiting all rows.
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
  return cells.finish();
}

void addRowsBelow(PlaceList& rows, QAbstractItemView& view, const QModelIndex& parent) {
  const auto* model = view.model();
  for (int row = 0; row < model->rowCount(parent); ++row) {
    const auto index = model->index(row, 0, parent);
    addPlace(rows, index.data().toString().toStdString(), "", *view.viewport(),
             iconRect(view, index));
    addRowsBelow(rows, view, index);
  }
}

GVariant* rowsOf(QWidget* window) {
  PlaceList rows;
  for (auto* view : window->findChildren<QAbstractItemView*>())
    if (view->inherits("Fm::PlacesView") && view->isVisible()) addRowsBelow(rows, *view, {});
  return rows.finish();
}

/// What the display shows, not what the widgets would draw. Places are in its pixels.
void savePicture(QWidget* window, const std::string& file) {
  const QImage image = window->windowHandle()
                           ->screen()
                           ->grabWindow(window->winId())
                           .toImage()
                           .convertToFormat(QImage::Format_ARGB32_Premultiplied);
  PictureFile picture{.width = static_cast<std::uint32_t>(image.width()),
                      .height = static_cast<std::uint32_t>(image.height()),
                      .scale = 1,
                      .pixels = {}};
  const auto* const pixels = reinterpret_cast<const std::uint32_t*>(image.constBits());
  picture.pixels.assign(pixels, pixels + std::size_t{picture.width} * picture.height);
  picture.write(file);
}

void returnAfterFrame(Invocation* invocation, const std::function<GVariant*()>& result = {}) {
  // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): it deletes itself
  auto* frame = new QTimer(qApp);
  frame->setSingleShot(true);
  QObject::connect(frame, &QTimer::timeout, frame, [frame, invocation, result] {
    frame->deleteLater();
    g_dbus_method_invocation_return_value(invocation, result ? result() : nullptr);
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

/// Gives access to a protected function of a list.
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

/// As the host does for its eject button.
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

void handle(QWidget* window, const std::string& method, GVariant* arguments,
            Invocation* invocation) {
  guint number = 0;
  if (method == "Rows") return g_dbus_method_invocation_return_value(invocation, rowsOf(window));
  if (method == "Paints")
    return g_dbus_method_invocation_return_value(invocation,
                                                 g_variant_new("(u)", paints().of(window)));
  const char* text = "";
  if (method == "Capture") {
    g_variant_get(arguments, "(u&s)", &number, &text);
    return returnAfterFrame(invocation,
                            [shown = QPointer<QWidget>(window), file = std::string(text)] {
                              if (!shown) return PlaceList().finish();
                              if (!file.empty()) savePicture(shown, file);
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
  } else if (method == "Close") {
    window->close();
  } else if (method == "Move") {
    double x = 0;
    double y = 0;
    g_variant_get(arguments, "(u&sdd)", &number, &text, &x, &y);
    move(window, text, QPointF(x, y).toPoint());
  } else if (method != "NextFrame") {
    return returnNotOfThisHost(invocation);
  }
  returnAfterFrame(invocation);
}

std::vector<std::string> windowTitles() {
  std::vector<std::string> titles;
  for (const QWidget* window : hostWindows()) titles.push_back(window->windowTitle().toStdString());
  return titles;
}

void call(guint number, const std::string& method, GVariant* arguments, Invocation* invocation) {
  QWidget* window = windowNumbered(number);
  if (window == nullptr) return returnNoSuchWindow(invocation);
  handle(window, method, arguments, invocation);
}

}  // namespace

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
    serveProbe({.windowTitles = &windowTitles, .call = &call});
  }
};

}  // namespace wevora::testing_host

#include "Probe.moc"
