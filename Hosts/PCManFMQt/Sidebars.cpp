#include "Hosts/PCManFMQt/Sidebars.h"

#include <QIcon>
#include <QPersistentModelIndex>
#include <QPixmap>
#include <optional>
#include <string>
#include <utility>

#include "Hosts/PCManFMQt/QtTarget.h"
#include "Platform/Base/Guard.h"

namespace wevora::pcmanfmqt {
namespace {

using hosts::SidebarRow;
using hosts::SidebarView;
using platform::Id;

QIcon iconOf(const platform::Image& image) {
  QIcon icon;
  for (const auto& representation : image.representations())
    icon.addPixmap(QPixmap::fromImage(imageOf(*representation.bitmap)));
  return icon;
}

class Row : public SidebarRow {
 public:
  Row(platform::Class& isa, const QModelIndex& index) : SidebarRow(isa), index_(index) {}

  std::optional<std::string> name() const override {
    const QVariant text = index_.data(Qt::DisplayRole);
    return text.isValid() ? std::optional(text.toString().toStdString()) : std::nullopt;
  }
  void setImage(const platform::Image& image) override {
    if (!index_.isValid()) return;
    auto* model = const_cast<QAbstractItemModel*>(index_.model());
    model->setData(index_, iconOf(image), Qt::DecorationRole);
  }

 private:
  const QPersistentModelIndex index_;
};

}  // namespace

void Sidebars::appeared(QAbstractItemView& places) {
  if (sidebars_.contains(&places)) return;
  connect(&places, &QObject::destroyed, this,
          [this, destroyed = &places] { sidebars_.erase(destroyed); });
  const auto again = [this, view = QPointer<QAbstractItemView>(&places)] {
    platform::catchAll([&] {
      if (view) present(*view);
    });
  };
  sidebars_.emplace(&places, classes_.make(again));
  if (auto* model = places.model()) {
    connect(model, &QAbstractItemModel::rowsInserted, &places, again);
    connect(model, &QAbstractItemModel::dataChanged, &places, again);
    connect(model, &QAbstractItemModel::layoutChanged, &places, again);
    connect(model, &QAbstractItemModel::modelReset, &places, again);
  }
  again();
}

// Setting a row's image changes the model again, so the flag prevents recursion.
void Sidebars::present(QAbstractItemView& places) {
  const auto found = sidebars_.find(&places);
  if (found == sidebars_.end() || places.model() == nullptr || std::exchange(presenting_, true))
    return;
  const platform::ScopeExit done([this] { presenting_ = false; });
  presentBelow(found->second, *places.model(), {});
}

void Sidebars::presentBelow(const std::shared_ptr<SidebarView>& sidebar, QAbstractItemModel& model,
                            const QModelIndex& parent) {
  for (int row = 0; row < model.rowCount(parent); ++row) {
    const QModelIndex index = model.index(row, 0, parent);
    hosts::SidebarClasses::willDisplay(sidebar, std::make_shared<Row>(classes_.rows(), index));
    presentBelow(sidebar, model, index);
  }
}

std::vector<Id> Sidebars::sidebarsOf(const QWidget* window) const {
  std::vector<Id> inWindow;
  for (const auto& [places, sidebar] : sidebars_)
    if (places->window() == window) inWindow.emplace_back(sidebar);
  return inWindow;
}

}  // namespace wevora::pcmanfmqt
