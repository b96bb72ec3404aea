#pragma once

#include <QAbstractItemView>
#include <QObject>
#include <QPersistentModelIndex>
#include <QPointer>
#include <map>
#include <memory>
#include <vector>

#include "Hosts/Common/FeedbackGuard.h"
#include "Hosts/Common/SidebarView.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::pcmanfmqt {

/// The host's sidebars (places views). A row's image is the decoration of its item in the host's
/// model.
/// Thread-safety: main thread only.
/// Ownership: a sidebar for each places view, as long as the view lives.
/// Errors: a row whose model rejects the decoration is left unchanged.
class Sidebars : public QObject {
 public:
  Sidebars(platform::Runtime& runtime, platform::Class& views) : classes_(runtime, views) {}

  void appeared(QAbstractItemView& places);
  std::vector<platform::Id> sidebarsOf(const QWidget* window) const;

 private:
  struct Sidebar;
  class Row;

  /// `reacting`: because the host's model has notified of a change.
  void present(QAbstractItemView& places, bool reacting);
  void presentBelow(Sidebar& sidebar, QAbstractItemModel& model, const QModelIndex& parent);

  const hosts::SidebarClasses classes_;
  std::map<QAbstractItemView*, std::shared_ptr<Sidebar>> sidebars_;
  bool presenting_ = false;
};

}  // namespace wevora::pcmanfmqt
