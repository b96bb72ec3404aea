#pragma once

#include <QAbstractItemModel>
#include <QAbstractItemView>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "Hosts/PCManFMQt/Cell.h"
#include "Hosts/PCManFMQt/IconPlaces.h"

namespace wevora::pcmanfmqt {

/// One of the host's item views, with a cache of cells by row. A cell is discarded as soon as its
/// row may show another item.
/// Thread-safety: main thread only.
/// Errors: does nothing after the host's view was destroyed.
class ItemView : public QObject {
 public:
  /// The factories for the view's cells; they must outlive it.
  struct Makers {
    hosts::Nodes& nodes;
    Cells& cells;
    platform::Class& views;
  };
  ItemView(QAbstractItemView& view, CellKind kind, const Makers& makers);

  QAbstractItemView* view() const noexcept { return view_; }
  CellKind kind() const noexcept { return kind_; }

  /// Paints the badges of an area over the host's painting.
  void paintOver(const QRect& area);
  /// The existing cells of the visible items.
  std::vector<std::shared_ptr<Cell>> visibleCells();
  /// The cells of all items, created as needed.
  std::vector<std::shared_ptr<Cell>> allCells();
  void redraw() const;
  void forgetCells() { cells_.clear(); }

 private:
  using Visit = std::function<void(const QModelIndex&)>;
  void visitRowsIn(const QRect& area, const Visit& visit) const;
  void followModel();
  void forgetRows(int first, int last);
  void forgetInvisible();
  void redrawRow(int row, const std::weak_ptr<Cell>& of) const;
  std::shared_ptr<Cell> cellOf(const QModelIndex& index);
  void draw(const QModelIndex& index, QPainter& painter);

  const QPointer<QAbstractItemView> view_;
  const CellKind kind_;
  const Makers makers_;
  IconPlaces places_;
  std::unordered_map<int, std::shared_ptr<Cell>> cells_;  ///< by row
  QPointer<QAbstractItemModel> model_;
};

}  // namespace wevora::pcmanfmqt
