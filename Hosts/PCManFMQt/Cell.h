#pragma once

#include <QPainter>
#include <QRectF>
#include <memory>

#include "Hosts/Common/Node.h"
#include "Hosts/Common/RecordingTarget.h"
#include "Hosts/Common/View.h"
#include "Hosts/PCManFMQt/QtTarget.h"
#include "Platform/Graphics/Geometry.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::pcmanfmqt {

/// What the host shows of an item when its own painting is done. Coordinates are the viewport's.
/// Threads: a value. Owns: nothing. Errors: none.
struct Pass {
  QPainter& painter;
  QRectF item;
  QRectF box;   ///< the square kept for the icon
  QRectF icon;  ///< the icon in it
};

/// One item in one of the host's views. The host has painted before it is drawn, so what the host
/// does itself, when it is sent the messages that the bundle stands in for, is nothing.
/// Threads: the main thread. Owns: its node and its view. Errors: none.
class Cell : public platform::Object, public std::enable_shared_from_this<Cell> {
 public:
  Cell(platform::Class& isa, std::shared_ptr<hosts::Node> node, std::shared_ptr<hosts::View> view)
      : Object(isa), node_(std::move(node)), view_(std::move(view)) {}

  const std::shared_ptr<hosts::Node>& node() const noexcept { return node_; }
  const std::shared_ptr<hosts::View>& view() const noexcept { return view_; }
  virtual void draw(const Pass& pass) = 0;

 private:
  const std::shared_ptr<hosts::Node> node_;
  const std::shared_ptr<hosts::View> view_;
};

/// The views of the host whose items show an icon.
enum class CellKind { Icon, List, Desktop };

/// Makes the cells: "IKIconCell" for icons beside or above their names, "TListViewIconAndTextCell"
/// for rows of a detailed list, "TDesktopIcon" for the desktop.
/// Threads: the main thread. Owns: the classes, and what was drawn for the cells. Errors: none.
class Cells {
 public:
  explicit Cells(platform::Runtime& runtime);
  Cells(const Cells&) = delete;
  Cells& operator=(const Cells&) = delete;

  std::shared_ptr<Cell> make(CellKind kind, std::shared_ptr<hosts::Node> node,
                             std::shared_ptr<hosts::View> view);

 private:
  void registerIcons(platform::Runtime& runtime);
  void registerRows(platform::Runtime& runtime);
  void registerDesktopIcons(platform::Runtime& runtime);

  std::shared_ptr<platform::Class> iconCells_;
  std::shared_ptr<platform::Class> listCells_;
  std::shared_ptr<platform::Class> desktopIcons_;
  std::shared_ptr<platform::Class> layers_;
  std::shared_ptr<platform::Class> imageWrappers_;
  ImageCache pictures_;
};

}  // namespace wevora::pcmanfmqt
