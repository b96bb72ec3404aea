#pragma once

#include <QAbstractItemView>
#include <QEvent>
#include <QObject>
#include <QRect>

namespace wevora::pcmanfmqt {

/// What is told of the host's views.
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

/// Lets the host paint its views of items first, and tells when it has.
/// Threads: the main thread. Owns: nothing. Errors: none.
class PaintFilter : public QObject {
 public:
  explicit PaintFilter(ViewObserver& observer) : observer_(observer) {}

 protected:
  bool eventFilter(QObject* viewport, QEvent* event) override;

 private:
  ViewObserver& observer_;
  const QObject* painting_ = nullptr;  ///< the viewport that the host paints just now
};

/// Finds the host's views by the names of their classes: those that are there, and those to come by
/// the event that every widget is sent before it is shown for the first time.
/// Threads: the main thread. Owns: nothing of the host. Errors: a class that never appears is never
/// told of.
class HostViews : public QObject {
 public:
  /// The observer outlives the host's widgets.
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
