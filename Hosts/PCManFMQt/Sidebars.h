#pragma once

#include <QAbstractItemView>
#include <QObject>
#include <QPointer>
#include <map>
#include <memory>
#include <vector>

#include "Hosts/Common/SidebarView.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::pcmanfmqt {

/// The host's lists of places. A row's image is the decoration of its item in the host's model.
/// Threads: the main thread. Owns: a sidebar for each list of places, as long as that lives.
/// Errors: a row whose model takes no decoration stays as it is.
class Sidebars : public QObject {
 public:
  Sidebars(platform::Runtime& runtime, platform::Class& views) : classes_(runtime, views) {}

  void appeared(QAbstractItemView& places);
  std::vector<platform::Id> sidebarsOf(const QWidget* window) const;

 private:
  void present(QAbstractItemView& places);
  void presentBelow(const std::shared_ptr<hosts::SidebarView>& sidebar, QAbstractItemModel& model,
                    const QModelIndex& parent);

  const hosts::SidebarClasses classes_;
  std::map<QAbstractItemView*, std::shared_ptr<hosts::SidebarView>> sidebars_;
  bool presenting_ = false;
};

}  // namespace wevora::pcmanfmqt
