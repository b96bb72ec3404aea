#include "Hosts/PCManFMQt/Sidebars.h"

#include <QIcon>
#include <QPersistentModelIndex>
#include <QPixmap>
#include <QTimer>
#include <iostream>
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

}  // namespace

/// A list of places and what is remembered of it.
struct Sidebars::Sidebar {
  Sidebar() {
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, &timer, [this] {
      for (const auto& call : std::exchange(later, {})) platform::catchAll(call);
    });
  }

  std::shared_ptr<SidebarView> view;
  QTimer timer;
  std::vector<std::function<void()>> later;  ///< for the next iteration of the main loop
  hosts::FeedbackGuard guard{
      {.runLater =
           [this](std::function<void()> call) {
             later.push_back(std::move(call));
             timer.start(0);
           },
       .report =
           [] {
             std::cerr << "wevora: the list of places keeps replacing its image; it keeps the file "
                          "manager's own\n";
           }}};
  std::map<QPersistentModelIndex, qint64> given;  ///< the key of the image that a row was given
  bool reacting = false;
  bool changed = false;  ///< by this system, in the round under way

  bool isShownBy(const QPersistentModelIndex& row) const {
    const auto found = given.find(row);
    return found != given.end() &&
           row.data(Qt::DecorationRole).value<QIcon>().cacheKey() == found->second;
  }
  /// Whether a row's image may be set now.
  bool mayChange() {
    if (!reacting || changed) return true;
    changed = guard.beginRound();
    return changed;
  }
};

class Sidebars::Row : public SidebarRow {
 public:
  Row(platform::Class& isa, Sidebar& sidebar, const QModelIndex& index)
      : SidebarRow(isa), sidebar_(sidebar), index_(index) {}

  std::optional<std::string> name() const override {
    const QVariant text = index_.data(Qt::DisplayRole);
    return text.isValid() ? std::optional(text.toString().toStdString()) : std::nullopt;
  }
  void setImage(const platform::Image& image) override {
    if (!index_.isValid() || (sidebar_.reacting && sidebar_.isShownBy(index_))) return;
    if (!sidebar_.mayChange()) return;
    const QIcon icon = iconOf(image);
    // Known before the model notifies of it.
    sidebar_.given[index_] = icon.cacheKey();
    auto* model = const_cast<QAbstractItemModel*>(index_.model());
    model->setData(index_, icon, Qt::DecorationRole);
  }

 private:
  Sidebar& sidebar_;
  const QPersistentModelIndex index_;
};

void Sidebars::appeared(QAbstractItemView& places) {
  if (sidebars_.contains(&places)) return;
  connect(&places, &QObject::destroyed, this, [this, gone = &places] { sidebars_.erase(gone); });
  const auto presenting = [this, view = QPointer<QAbstractItemView>(&places)](bool reacting) {
    return [this, view, reacting] {
      platform::catchAll([&] {
        if (view) present(*view, reacting);
      });
    };
  };
  const auto sidebar = std::make_shared<Sidebar>();
  sidebar->view = classes_.make(presenting(false));
  sidebars_.emplace(&places, sidebar);
  if (auto* model = places.model()) {
    const auto changed = presenting(true);
    connect(model, &QAbstractItemModel::rowsInserted, &places, changed);
    connect(model, &QAbstractItemModel::dataChanged, &places, changed);
    connect(model, &QAbstractItemModel::layoutChanged, &places, changed);
    connect(model, &QAbstractItemModel::modelReset, &places, changed);
  }
  present(places, false);
}

// Setting a row's image changes the model again; the flag prevents recursion.
void Sidebars::present(QAbstractItemView& places, bool reacting) {
  const auto found = sidebars_.find(&places);
  if (found == sidebars_.end() || places.model() == nullptr || std::exchange(presenting_, true))
    return;
  const auto sidebar = found->second;
  sidebar->reacting = reacting;
  sidebar->changed = false;
  const platform::ScopeExit done([this] { presenting_ = false; });
  std::erase_if(sidebar->given, [](const auto& row) { return !row.first.isValid(); });
  presentBelow(*sidebar, *places.model(), {});
}

void Sidebars::presentBelow(Sidebar& sidebar, QAbstractItemModel& model,
                            const QModelIndex& parent) {
  for (int row = 0; row < model.rowCount(parent); ++row) {
    const QModelIndex index = model.index(row, 0, parent);
    hosts::SidebarClasses::willDisplay(sidebar.view,
                                       std::make_shared<Row>(classes_.rows(), sidebar, index));
    presentBelow(sidebar, model, index);
  }
}

std::vector<Id> Sidebars::sidebarsOf(const QWidget* window) const {
  std::vector<Id> inWindow;
  for (const auto& [places, sidebar] : sidebars_)
    if (places->window() == window) inWindow.emplace_back(sidebar->view);
  return inWindow;
}

}  // namespace wevora::pcmanfmqt
