#include "Hosts/PCManFMQt/Sidebars.h"

#include <QCoreApplication>
#include <QListView>
#include <QStandardItemModel>
#include <QTimer>
#include <functional>

#include <gtest/gtest.h>

#include "Tests/Doubles/SidebarDelegate.h"
#include "Tests/QtApplication/QtApplication.h"

namespace wevora::pcmanfmqt {
namespace {

/// The icon of a row, which calls something each time that another than the host sets it.
class PlacesModel : public QStandardItemModel {
 public:
  PlacesModel() {
    for (const char* name : {"(w) Drive", "Home"}) appendRow(new QStandardItem(name));
    restoreIcon();
  }
  void restoreIcon() { QStandardItemModel::setData(index(0, 0), theirs, Qt::DecorationRole); }
  bool hasTheirIcon() const {
    return index(0, 0).data(Qt::DecorationRole).value<QIcon>().cacheKey() == theirs.cacheKey();
  }
  bool setData(const QModelIndex& row, const QVariant& value, int role) override {
    ++iconsSet;
    const bool done = QStandardItemModel::setData(row, value, role);
    if (reaction) reaction();
    return done;
  }

  const QIcon theirs{QPixmap(16, 16)};
  std::function<void()> reaction;
  int iconsSet = 0;
};

class SidebarsTest : public testing::Test {
 private:
  QApplication& application_ = testing_host::qtApplication();  // before any widget

 protected:
  SidebarsTest() {
    platform::setDriveImageByDelegate(runtime_);
    places.setModel(&model);
  }
  static void runUntilIdle() {
    for (int turn = 0; turn < 1000; ++turn) QCoreApplication::processEvents();
  }

 private:
  platform::Runtime runtime_;
  const std::shared_ptr<platform::Class> views_ = hosts::View::registerIn(runtime_);

 protected:
  PlacesModel model;
  QListView places;
  Sidebars sidebars{runtime_, *views_};
};

TEST_F(SidebarsTest, TheDrivesRowTakesTheImageThatItsDelegateGivesIt) {
  sidebars.appeared(places);
  EXPECT_EQ(model.iconsSet, 1);
  EXPECT_FALSE(model.hasTheirIcon());
}

TEST_F(SidebarsTest, OurOwnImageIsNotGivenAgainWhenTheModelNotifiesOfIt) {
  sidebars.appeared(places);
  for (int i = 0; i < 100; ++i) emit model.dataChanged(model.index(0, 0), model.index(1, 0));
  emit model.layoutChanged();
  runUntilIdle();
  EXPECT_EQ(model.iconsSet, 1);
}

TEST_F(SidebarsTest, EachIconThatTheHostSetsIsReplacedOnce) {
  sidebars.appeared(places);
  model.restoreIcon();
  runUntilIdle();
  EXPECT_EQ(model.iconsSet, 2);
  EXPECT_FALSE(model.hasTheirIcon());
}

TEST_F(SidebarsTest, AModelThatRestoresItsIconAtOnceGetsOurImageOnce) {
  model.reaction = [this] { model.restoreIcon(); };
  sidebars.appeared(places);
  runUntilIdle();
  EXPECT_EQ(model.iconsSet, 1);
  EXPECT_TRUE(model.hasTheirIcon());
}

TEST_F(SidebarsTest, AModelThatRestoresItsIconWhenIdleKeepsItAfterTwentyRounds) {
  model.reaction = [this] { QTimer::singleShot(0, &places, [this] { model.restoreIcon(); }); };
  sidebars.appeared(places);
  runUntilIdle();
  EXPECT_GE(model.iconsSet, 2);
  EXPECT_LE(model.iconsSet, 1 + static_cast<int>(hosts::FeedbackGuard::kMaxRoundsPerSecond));
  EXPECT_TRUE(model.hasTheirIcon());
}

}  // namespace
}  // namespace wevora::pcmanfmqt
