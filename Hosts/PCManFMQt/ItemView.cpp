#include "Hosts/PCManFMQt/ItemView.h"

#include <QListView>
#include <QMimeData>
#include <QPainter>
#include <QTreeView>
#include <optional>
#include <string>
#include <utility>

#include "Platform/Base/Guard.h"

namespace wevora::pcmanfmqt {
namespace {

using platform::catchAll;

constexpr std::size_t kMaxCells = 1024;

/// The item's URI, taken from the host model's drag data; nullopt for a row that is not a file.
std::optional<std::string> uriOf(const QModelIndex& index) {
  const std::unique_ptr<QMimeData> dragged(index.model()->mimeData({index}));
  if (!dragged) return std::nullopt;
  for (const char* format : {"libfm/files", "text/uri-list"}) {
    const QByteArray list = dragged->data(QLatin1String(format));
    const QByteArray uri = list.left(list.indexOf('\n')).trimmed();
    if (!uri.isEmpty()) return uri.toStdString();
  }
  return std::nullopt;
}

/// The first row that is not before the area, by binary search; the rows must be laid out in order.
int firstRowIn(const QListView& list, const QRect& area, int rows) {
  const auto isBefore = [&](int row) {
    const QRect place = list.visualRect(list.model()->index(row, 0, list.rootIndex()));
    if (list.flow() == QListView::LeftToRight) return place.bottom() < area.top();
    return list.isRightToLeft() ? place.left() > area.right() : place.right() < area.left();
  };
  int low = 0;
  int high = rows;
  while (low < high) {
    const int middle = low + (high - low) / 2;
    if (isBefore(middle))
      low = middle + 1;
    else
      high = middle;
  }
  return low;
}

bool isBehind(const QListView& list, const QRect& place, const QRect& area) {
  if (list.flow() == QListView::LeftToRight) return place.top() > area.bottom();
  return list.isRightToLeft() ? place.right() < area.left() : place.left() > area.right();
}

}  // namespace

ItemView::ItemView(QAbstractItemView& view, CellKind kind, const Makers& makers)
    : view_(&view), kind_(kind), makers_(makers) {}

void ItemView::redraw() const {
  if (view_) view_->viewport()->update();
}

void ItemView::paintOver(const QRect& area) {
  if (!view_ || view_->model() == nullptr) return;
  followModel();
  QPainter painter(view_->viewport());
  visitRowsIn(area, [&](const QModelIndex& index) { draw(index, painter); });
  if (cells_.size() > kMaxCells) forgetInvisible();
}

void ItemView::draw(const QModelIndex& index, QPainter& painter) {
  const auto cell = cellOf(index);
  const auto box = cell ? places_.iconBox(*view_, index) : std::nullopt;
  if (!box) return;
  painter.save();
  const platform::ScopeExit restored([&] { painter.restore(); });
  catchAll([&] {
    cell->draw({.painter = painter,
                .item = view_->visualRect(index),
                .box = *box,
                .icon = IconPlaces::iconWithin(*box, index)});
  });
}

std::shared_ptr<Cell> ItemView::cellOf(const QModelIndex& index) {
  auto& cell = cells_[index.row()];
  if (cell) return cell;
  const auto uri = uriOf(index);
  if (!uri) return nullptr;
  const auto self = std::make_shared<std::weak_ptr<Cell>>();
  const auto redrawItem = [view = QPointer<ItemView>(this), row = index.row(), self] {
    if (view) view->redrawRow(row, *self);
  };
  cell = makers_.cells.make(kind_, makers_.nodes.make(*uri),
                            std::make_shared<hosts::View>(makers_.views, redrawItem));
  *self = cell;
  return cell;
}

// A discarded cell redraws nothing: its row may show another item.
void ItemView::redrawRow(int row, const std::weak_ptr<Cell>& of) const {
  const auto known = cells_.find(row);
  if (!view_ || known == cells_.end() || known->second != of.lock()) return;
  const auto place = view_->model()->index(row, 0, view_->rootIndex());
  view_->viewport()->update(view_->visualRect(place));
}

std::vector<std::shared_ptr<Cell>> ItemView::visibleCells() {
  std::vector<std::shared_ptr<Cell>> visible;
  if (!view_ || !view_->isVisible() || view_->model() == nullptr) return visible;
  visitRowsIn(view_->viewport()->rect(), [&](const QModelIndex& index) {
    const auto known = cells_.find(index.row());
    if (known != cells_.end() && known->second) visible.push_back(known->second);
  });
  return visible;
}

std::vector<std::shared_ptr<Cell>> ItemView::allCells() {
  std::vector<std::shared_ptr<Cell>> all;
  if (!view_ || view_->model() == nullptr) return all;
  followModel();
  const auto* model = view_->model();
  for (int row = 0; row < model->rowCount(view_->rootIndex()); ++row)
    if (auto cell = cellOf(model->index(row, 0, view_->rootIndex())))
      all.push_back(std::move(cell));
  return all;
}

void ItemView::visitRowsIn(const QRect& area, const Visit& visit) const {
  const auto* model = view_->model();
  const QModelIndex root = view_->rootIndex();
  const int rows = model->rowCount(root);
  if (const auto* tree = qobject_cast<const QTreeView*>(view_.data())) {
    // QTreeView's own version: the host's override ignores parts of a row.
    QModelIndex index = tree->QTreeView::indexAt({0, qMax(0, area.top())});
    for (; index.isValid(); index = tree->indexBelow(index)) {
      const QModelIndex first = index.siblingAtColumn(0);
      if (tree->visualRect(first).top() > area.bottom()) return;
      visit(first);
    }
    return;
  }
  const auto* list = qobject_cast<const QListView*>(view_.data());
  // If the user can move icons, their positions are not in the order of the rows.
  const bool inOrder = list != nullptr && list->movement() == QListView::Static;
  for (int row = inOrder ? firstRowIn(*list, area, rows) : 0; row < rows; ++row) {
    const QModelIndex index = model->index(row, 0, root);
    const QRect place = view_->visualRect(index);
    if (inOrder && isBehind(*list, place, area)) return;
    if (place.intersects(area)) visit(index);
  }
}

void ItemView::followModel() {
  QAbstractItemModel* model = view_->model();
  if (model == model_) return;
  forgetCells();
  if (model_) model_->disconnect(this);
  model_ = model;
  const auto all = [this] { catchAll([this] { forgetCells(); }); };
  connect(model, &QAbstractItemModel::rowsInserted, this, all);
  connect(model, &QAbstractItemModel::rowsRemoved, this, all);
  connect(model, &QAbstractItemModel::rowsMoved, this, all);
  connect(model, &QAbstractItemModel::layoutChanged, this, all);
  connect(model, &QAbstractItemModel::modelReset, this, all);
  connect(model, &QAbstractItemModel::dataChanged, this,
          [this](const QModelIndex& first, const QModelIndex& last) {
            catchAll([&] { forgetRows(first.row(), last.row()); });
          });
}

void ItemView::forgetRows(int first, int last) {
  std::erase_if(cells_,
                [&](const auto& known) { return known.first >= first && known.first <= last; });
}

void ItemView::forgetInvisible() {
  const QRect visible = view_->viewport()->rect();
  std::erase_if(cells_, [&](const auto& known) {
    const auto place = view_->model()->index(known.first, 0, view_->rootIndex());
    return !view_->visualRect(place).intersects(visible);
  });
}

}  // namespace wevora::pcmanfmqt
