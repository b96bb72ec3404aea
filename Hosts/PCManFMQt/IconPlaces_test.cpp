#include "Hosts/PCManFMQt/IconPlaces.h"

#include <QIcon>
#include <QListView>
#include <QPainter>
#include <QPixmap>
#include <QStandardItemModel>
#include <QStyledItemDelegate>
#include <QTreeView>

#include <gtest/gtest.h>

#include "Tests/QtApplication/QtApplication.h"

namespace wevora::pcmanfmqt {
namespace {

constexpr int kIcon = 32;

QPixmap pixmap(int width, int height) {
  QPixmap made(width, height);
  made.fill(Qt::red);
  return made;
}

/// A fake delegate of the host, with its own margins.
class Delegate : public QStyledItemDelegate {
 public:
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    ++paints;
    painter->fillRect(option.rect, Qt::white);
    painter->drawText(option.rect, index.data().toString());
    const auto icon = index.data(Qt::DecorationRole).value<QIcon>();
    if (icon.isNull()) return;
    icon.paint(painter, QRect(option.rect.topLeft() + margin, option.decorationSize));
    painter->drawPixmap(0, 0, pixmap(5, 5));  // an emblem
  }

  QPoint margin{11, 3};
  mutable int paints = 0;
};

class IconPlacesTest : public testing::Test {
 protected:
  IconPlacesTest() {
    view.setModel(&model);
    view.setItemDelegate(&delegate);
    view.setViewMode(QListView::IconMode);
    view.setIconSize({kIcon, kIcon});
    view.setGridSize({90, 70});
    view.resize(400, 300);
    view.show();
  }
  void add(const QIcon& icon) {
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): the model deletes it
    model.appendRow(new QStandardItem(icon, QStringLiteral("name")));
  }
  std::optional<QRectF> boxOf(int row) { return places.iconBox(view, model.index(row, 0)); }
  QRectF boxAsPainted(int row) const {
    const QPoint corner = view.visualRect(model.index(row, 0)).topLeft();
    return QRectF(corner + delegate.margin, QSizeF(kIcon, kIcon));
  }

  QApplication& application = testing_host::qtApplication();  // before any widget
  QStandardItemModel model;
  QListView view;
  Delegate delegate;
  IconPlaces places;
};

TEST_F(IconPlacesTest, TheIconIsWhereTheDelegatePaintsIt) {
  add(QIcon(pixmap(kIcon, kIcon)));
  EXPECT_EQ(boxOf(0), boxAsPainted(0));
}

TEST_F(IconPlacesTest, EachItemHasItsOwnPosition) {
  add(QIcon(pixmap(kIcon, kIcon)));
  add(QIcon(pixmap(kIcon, kIcon)));
  EXPECT_NE(boxAsPainted(0), boxAsPainted(1));
  EXPECT_EQ(boxOf(1), boxAsPainted(1));
  EXPECT_EQ(boxOf(0), boxAsPainted(0));
}

TEST_F(IconPlacesTest, ASmallerIconIsCentredInItsBox) {
  add(QIcon(pixmap(kIcon, 16)));
  ASSERT_EQ(boxOf(0), boxAsPainted(0));
  EXPECT_EQ(IconPlaces::iconWithin(*boxOf(0), model.index(0, 0)),
            boxAsPainted(0).adjusted(0, 8, 0, -8));
}

TEST_F(IconPlacesTest, AnItemWithoutAnIconHasNoBox) {
  add({});
  EXPECT_EQ(boxOf(0), std::nullopt);
}

TEST_F(IconPlacesTest, TheDelegatePaintsOnceForAllItemsOfASize) {
  for (int i = 0; i < 3; ++i) add(QIcon(pixmap(kIcon, kIcon)));
  boxOf(0);
  const int before = delegate.paints;
  boxOf(1);
  boxOf(2);
  boxOf(0);
  EXPECT_EQ(delegate.paints, before);
}

TEST_F(IconPlacesTest, IconsOfAnotherSizeHaveAnotherPosition) {
  add(QIcon(pixmap(64, 64)));
  boxOf(0);
  delegate.margin = {7, 5};
  view.setIconSize({24, 24});
  const QPoint corner = view.visualRect(model.index(0, 0)).topLeft();
  EXPECT_EQ(boxOf(0), QRectF(corner + QPoint(7, 5), QSizeF(24, 24)));
}

TEST_F(IconPlacesTest, MeasuringPaintsNothingInTheView) {
  add(QIcon(pixmap(kIcon, kIcon)));
  const QImage before = view.grab().toImage();
  boxOf(0);
  EXPECT_EQ(view.grab().toImage(), before);
}

TEST_F(IconPlacesTest, TheIconOfADetailedListsRowIsWhereTheStylePutsIt) {
  add(QIcon(pixmap(kIcon, kIcon)));
  QTreeView list;
  list.setModel(&model);
  list.setIconSize({16, 16});
  list.resize(400, 300);
  list.show();
  const QModelIndex index = model.index(0, 0);
  QStyleOptionViewItem option;
  option.initFrom(&list);
  option.rect = list.visualRect(index);
  option.features = QStyleOptionViewItem::HasDecoration | QStyleOptionViewItem::HasDisplay;
  option.decorationSize = list.iconSize();
  option.decorationAlignment = Qt::AlignCenter;
  option.text = QStringLiteral("name");
  const QRect styled =
      list.style()->subElementRect(QStyle::SE_ItemViewItemDecoration, &option, &list);
  EXPECT_EQ(places.iconBox(list, index), QRectF(styled));
}

class IconWithinTest : public testing::Test {
 protected:
  IconWithinTest() { testing_host::qtApplication(); }
  QRectF within(const QVariant& decoration) {
    QStandardItemModel model(1, 1);
    model.setData(model.index(0, 0), decoration, Qt::DecorationRole);
    return IconPlaces::iconWithin(box, model.index(0, 0));
  }
  const QRectF box{10, 20, 32, 32};
};

TEST_F(IconWithinTest, AnImageIsLimitedToItsBox) {
  EXPECT_EQ(within(pixmap(100, 16)), QRectF(10, 28, 32, 16));
}

TEST_F(IconWithinTest, ASmallerImageIsCentredInItsBox) {
  EXPECT_EQ(within(pixmap(16, 8)), QRectF(18, 32, 16, 8));
}

TEST_F(IconWithinTest, ADecorationWithoutASizeFillsItsBox) {
  EXPECT_EQ(within({}), box);
  EXPECT_EQ(within(QPixmap()), box);
  EXPECT_EQ(within(QIcon()), box);
}

}  // namespace
}  // namespace wevora::pcmanfmqt
