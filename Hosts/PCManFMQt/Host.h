#pragma once

#include <QPointer>
#include <QWidget>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "Hosts/Common/BrowserWindows.h"
#include "Hosts/Common/Node.h"
#include "Hosts/Common/View.h"
#include "Hosts/PCManFMQt/Cell.h"
#include "Hosts/PCManFMQt/Desktop.h"
#include "Hosts/PCManFMQt/HostViews.h"
#include "Hosts/PCManFMQt/ItemView.h"
#include "Hosts/PCManFMQt/Sidebars.h"

namespace wevora::pcmanfmqt {

/// Presents PCManFM-Qt to the bundle: registers the classes that the bundle looks up, and maps them
/// to the widgets. Lives as long as the process.
/// Thread-safety: main thread only.
class Host : public ViewObserver, public hosts::WindowSource {
 public:
  explicit Host(platform::Runtime& runtime);

  void itemsAppeared(QAbstractItemView& view) override;
  void placesAppeared(QAbstractItemView& view) override { sidebars_.appeared(view); }
  void windowAppeared(QWidget& window) override;
  void itemsPainted(QAbstractItemView& view, const QRect& area) override;

  std::vector<std::int64_t> windows() const override;
  std::vector<hosts::VisibleCell> visibleCells(std::int64_t window) const override;
  std::vector<platform::Id> sidebars(std::int64_t window) const override;
  void redraw(std::int64_t window) override;

 private:
  QWidget* windowNumbered(std::int64_t number) const;
  std::vector<ItemView*> viewsIn(const QWidget* window) const;
  std::vector<ItemView*> viewsOfDesktop() const;

  const std::shared_ptr<platform::Class> views_;
  hosts::Nodes nodes_;
  Cells cells_;
  Sidebars sidebars_;
  Desktop desktop_;
  hosts::BrowserWindows browserWindows_;
  std::map<QObject*, std::unique_ptr<ItemView>> items_;
  std::map<std::int64_t, QPointer<QWidget>> windows_;
};

}  // namespace wevora::pcmanfmqt
