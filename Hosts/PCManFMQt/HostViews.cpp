#include "Hosts/PCManFMQt/HostViews.h"

#include <QApplication>
#include <QPaintEvent>
#include <QWidget>
#include <utility>

#include "Platform/Base/Guard.h"

namespace wevora::pcmanfmqt {
namespace {

bool isOfClass(const QObject& object, const char* name) {
  return qstrcmp(object.metaObject()->className(), name) == 0;
}

}  // namespace

void HostViews::watch() {
  qApp->installEventFilter(this);
  const auto all = QApplication::allWidgets();
  for (QWidget* widget : all)
    if (widget->testAttribute(Qt::WA_WState_Polished)) appeared(*widget);
}

bool HostViews::eventFilter(QObject* object, QEvent* event) {
  if (event->type() == QEvent::Polish && object->isWidgetType())
    platform::catchAll([&] { appeared(static_cast<QWidget&>(*object)); });
  return false;
}

void HostViews::appeared(QWidget& widget) {
  if (isOfClass(widget, "PCManFM::MainWindow")) observer_.windowAppeared(widget);
  auto* const view = qobject_cast<QAbstractItemView*>(&widget);
  if (view == nullptr) return;
  if (isOfClass(*view, "Fm::PlacesView")) observer_.placesAppeared(*view);
  if (!isOfClass(*view, "Fm::FolderViewListView") && !isOfClass(*view, "Fm::FolderViewTreeView"))
    return;
  observer_.itemsAppeared(*view);
  view->viewport()->installEventFilter(&paintFilter_);
}

// Sends the event to the host a second time, ignored by this filter, and paints over the result.
bool PaintFilter::eventFilter(QObject* viewport, QEvent* event) {
  if (event->type() != QEvent::Paint || viewport == painting_) return false;
  const QObject* const before = std::exchange(painting_, viewport);
  QCoreApplication::sendEvent(viewport, event);
  painting_ = before;
  platform::catchAll([&] {
    if (auto* view = qobject_cast<QAbstractItemView*>(viewport->parent()))
      observer_.itemsPainted(*view, static_cast<const QPaintEvent&>(*event).rect());
  });
  return true;
}

}  // namespace wevora::pcmanfmqt
