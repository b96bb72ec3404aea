#include "Hosts/PCManFMQt/IconPlaces.h"

#include <QAbstractItemDelegate>
#include <QIcon>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>

namespace wevora::pcmanfmqt {
namespace {

/// Paints nothing; records the rectangle of the first image that is drawn.
class RecordingEngine : public QPaintEngine {
 public:
  RecordingEngine() : QPaintEngine(QPaintEngine::AllFeatures) {}

  bool begin(QPaintDevice*) override { return true; }
  bool end() override { return true; }
  void updateState(const QPaintEngineState& now) override { transform_ = now.transform(); }
  Type type() const override { return User; }
  void drawPixmap(const QRectF& rect, const QPixmap&, const QRectF&) override { record(rect); }
  void drawImage(const QRectF& rect, const QImage&, const QRectF&,
                 Qt::ImageConversionFlags) override {
    record(rect);
  }
  void drawPath(const QPainterPath&) override {}
  void drawPolygon(const QPointF*, int, PolygonDrawMode) override {}
  void drawPolygon(const QPoint*, int, PolygonDrawMode) override {}
  void drawRects(const QRectF*, int) override {}
  void drawRects(const QRect*, int) override {}
  void drawTextItem(const QPointF&, const QTextItem&) override {}
  void drawTiledPixmap(const QRectF&, const QPixmap&, const QPointF&) override {}

  std::optional<QRectF> imageRect;  ///< in device pixels

 private:
  void record(const QRectF& rect) {
    if (!imageRect) imageRect = transform_.mapRect(rect);
  }
  QTransform transform_;
};

/// A paint device with the metrics of a widget.
class RecordingDevice : public QPaintDevice {
 public:
  explicit RecordingDevice(const QWidget& like) : like_(like) {}
  QPaintEngine* paintEngine() const override { return &engine_; }
  /// In device pixels.
  const std::optional<QRectF>& imageRect() const { return engine_.imageRect; }

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

/// Gives access to QAbstractItemView::viewOptions, which is protected.
class Options : public QAbstractItemView {
 public:
  static QStyleOptionViewItem of(const QAbstractItemView& view) {
    return (view.*&Options::viewOptions)();
  }
};

/// The rectangle in which the delegate paints the item's icon, in the item's coordinates.
std::optional<QRectF> measure(QAbstractItemView& view, const QModelIndex& index,
                              const QRect& item) {
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
  if (!device.imageRect()) return std::nullopt;
  QRectF box(QPointF(), QSizeF(option.decorationSize));
  box.moveCenter(device.imageRect()->center() / device.devicePixelRatioF());
  return box.translated(-item.topLeft());
}

}  // namespace

std::optional<QRectF> IconPlaces::iconBox(QAbstractItemView& view, const QModelIndex& index) {
  const QRect item = view.visualRect(index);
  const QSize icon = view.iconSize();
  const std::pair key(Size(item.width(), item.height()), Size(icon.width(), icon.height()));
  auto found = boxes_.find(key);
  if (found == boxes_.end()) {
    const auto box = measure(view, index, item);
    if (!box) return std::nullopt;
    if (boxes_.size() >= kMaxEntries) boxes_.clear();
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
