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

/// One of the host's views of items, with a cell for each item that it has shown. A cell is
/// forgotten as soon as its row may stand for another item.
/// Threads: the main thread. Owns: its cells. Errors: does nothing once the host's view has gone.
class ItemView : public QObject {
 public:
  /// What makes the cells of the view; classes outlive it.
  struct Makers {
    hosts::Nodes& nodes;
    Cells& cells;
    platform::Class& views;
  };
  ItemView(QAbstractItemView& view, CellKind kind, const Makers& makers);

  QAbstractItemView* view() const noexcept { return view_; }
  CellKind kind() const noexcept { return kind_; }

  /// Paints over what the host has painted there.
  void paintOver(const QRect& area);
  /// Of what a person may see now.
  std::vector<std::shared_ptr<Cell>> visibleCells();
  /// Of all items.
  std::vector<std::shared_ptr<Cell>> allCells();
  void redraw() const;
  void forgetCells() { cells_.clear(); }

 private:
  using Visit = std::function<void(const QModelIndex&)>;
  void visitRowsIn(const QRect& area, const Visit& visit) const;
  void followModel();
  void forgetRows(int first, int last);
  void forgetUnseen();
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
