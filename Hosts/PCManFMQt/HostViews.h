#pragma once

#include <QAbstractItemView>
#include <QEvent>
#include <QObject>
#include <QRect>

namespace wevora::pcmanfmqt {

/// Receives the notifications about the host's views.
class ViewObserver {
 public:
  ViewObserver() = default;
  virtual ~ViewObserver() = default;
  ViewObserver(const ViewObserver&) = delete;
  ViewObserver& operator=(const ViewObserver&) = delete;

  virtual void itemsAppeared(QAbstractItemView& view) = 0;
  virtual void placesAppeared(QAbstractItemView& view) = 0;
  virtual void windowAppeared(QWidget& window) = 0;
  /// The host has painted a view of items.
  virtual void itemsPainted(QAbstractItemView& view, const QRect& area) = 0;
};

/// Filters the paint events of item views: the host paints first, then the observer is notified.
/// Thread-safety: main thread only.
class PaintFilter : public QObject {
 public:
  explicit PaintFilter(ViewObserver& observer) : observer_(observer) {}

 protected:
  bool eventFilter(QObject* viewport, QEvent* event) override;

 private:
  ViewObserver& observer_;
  const QObject* painting_ = nullptr;  ///< the viewport that the host is painting
};

/// Finds the host's views by their class names: existing ones at once, later ones by the Polish
/// event that Qt sends to every widget before it is first shown. Thread-safety: main thread only.
class HostViews : public QObject {
 public:
  /// The observer must outlive the host's widgets.
  explicit HostViews(ViewObserver& observer) : observer_(observer), paintFilter_(observer) {}
  void watch();

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void appeared(QWidget& widget);

  ViewObserver& observer_;
  PaintFilter paintFilter_;
};

}  // namespace wevora::pcmanfmqt
