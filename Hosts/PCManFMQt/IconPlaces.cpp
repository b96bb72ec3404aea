#include "Hosts/PCManFMQt/IconPlaces.h"

#include <QAbstractItemDelegate>
#include <QIcon>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>

namespace wevora::pcmanfmqt {
namespace {

/// Paints nothing, and notes where the first picture would be.
/// Threads: the main thread. Owns: nothing. Errors: none.
class RecordingEngine : public QPaintEngine {
 public:
  RecordingEngine() : QPaintEngine(QPaintEngine::AllFeatures) {}

  bool begin(QPaintDevice*) override { return true; }
  bool end() override { return true; }
  void updateState(const QPaintEngineState& now) override { transform_ = now.transform(); }
  Type type() const override { return User; }
  void drawPixmap(const QRectF& place, const QPixmap&, const QRectF&) override { note(place); }
  void drawImage(const QRectF& place, const QImage&, const QRectF&,
                 Qt::ImageConversionFlags) override {
    note(place);
  }
  void drawPath(const QPainterPath&) override {}
  void drawPolygon(const QPointF*, int, PolygonDrawMode) override {}
  void drawPolygon(const QPoint*, int, PolygonDrawMode) override {}
  void drawRects(const QRectF*, int) override {}
  void drawRects(const QRect*, int) override {}
  void drawTextItem(const QPointF&, const QTextItem&) override {}
  void drawTiledPixmap(const QRectF&, const QPixmap&, const QPointF&) override {}

  std::optional<QRectF> picture;  ///< in device pixels

 private:
  void note(const QRectF& place) {
    if (!picture) picture = transform_.mapRect(place);
  }
  QTransform transform_;
};

/// As large as the view it stands in for.
/// Threads: the main thread. Owns: its engine. Errors: none.
class RecordingDevice : public QPaintDevice {
 public:
  explicit RecordingDevice(const QWidget& like) : like_(like) {}
  QPaintEngine* paintEngine() const override { return &engine_; }
  /// In device pixels.
  const std::optional<QRectF>& picture() const { return engine_.picture; }

 protected:
  int metric(PaintDeviceMetric metric) const override {
    switch (metric) {
      case PdmWidth:
        return like_.width();
      case PdmHeight:
        return like_.height();
      case PdmDpiX:
      case PdmPhysicalDpiX:
        return like_.logicalDpiX();
      case PdmDpiY:
      case PdmPhysicalDpiY:
        return like_.logicalDpiY();
      case PdmDevicePixelRatio:
        return like_.devicePixelRatio();
      case PdmDevicePixelRatioScaled:
        return static_cast<int>(like_.devicePixelRatioF() * devicePixelRatioFScale());
      default:
        return QPaintDevice::metric(metric);
    }
  }

 private:
  const QWidget& like_;
  mutable RecordingEngine engine_;
};

/// Opens a door that subclasses of a view have.
class Options : public QAbstractItemView {
 public:
  static QStyleOptionViewItem of(const QAbstractItemView& view) {
    return (view.*&Options::viewOptions)();
  }
};

/// Where the delegate paints the item's icon, in the item's own coordinates.
std::optional<QRectF> learn(QAbstractItemView& view, const QModelIndex& index, const QRect& item) {
  QAbstractItemDelegate* delegate = view.itemDelegate(index);
  if (delegate == nullptr) return std::nullopt;
  QStyleOptionViewItem option = Options::of(view);
  option.rect = item;
  option.state = QStyle::State_Enabled;
  const RecordingDevice device(*view.viewport());
  {
    QPainter painter(const_cast<RecordingDevice*>(&device));
    delegate->paint(&painter, option, index);
  }
  if (!device.picture()) return std::nullopt;
  QRectF box(QPointF(), QSizeF(option.decorationSize));
  box.moveCenter(device.picture()->center() / device.devicePixelRatioF());
  return box.translated(-item.topLeft());
}

}  // namespace

std::optional<QRectF> IconPlaces::iconBox(QAbstractItemView& view, const QModelIndex& index) {
  const QRect item = view.visualRect(index);
  const QSize icon = view.iconSize();
  const std::pair key(Size(item.width(), item.height()), Size(icon.width(), icon.height()));
  auto found = boxes_.find(key);
  if (found == boxes_.end()) {
    const auto box = learn(view, index, item);
    if (!box) return std::nullopt;
    if (boxes_.size() >= kKept) boxes_.clear();
    found = boxes_.emplace(key, *box).first;
  }
  return found->second.translated(item.topLeft());
}

QRectF IconPlaces::iconWithin(const QRectF& box, const QModelIndex& index) {
  const QVariant decoration = index.data(Qt::DecorationRole);
  QSizeF size = box.size();
  if (decoration.userType() == QMetaType::QIcon)
    size = decoration.value<QIcon>().actualSize(box.size().toSize());
  else if (decoration.canConvert<QPixmap>())
    size = QSizeF(decoration.value<QPixmap>().size()).boundedTo(box.size());
  if (size.isEmpty()) return box;
  QRectF icon(QPointF(), size);
  icon.moveCenter(box.center());
  return icon;
}

}  // namespace wevora::pcmanfmqt
