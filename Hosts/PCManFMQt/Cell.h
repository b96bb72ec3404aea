#pragma once

#include <QPainter>
#include <QRectF>
#include <memory>

#include "Hosts/Common/CellClasses.h"
#include "Hosts/Common/Node.h"
#include "Hosts/Common/RecordingTarget.h"
#include "Hosts/Common/View.h"
#include "Hosts/PCManFMQt/QtTarget.h"
#include "Platform/Graphics/Geometry.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::pcmanfmqt {

/// The parameters of one drawing pass, in the viewport's coordinates. The host has already painted
/// the item.
struct Pass {
  QPainter& painter;
  QRectF item;
  QRectF box;   ///< the square reserved for the icon
  QRectF icon;  ///< the icon inside the box, which may be smaller
};

/// The cell of one item in one of the host's views. Because the host has already painted the item,
/// the host's own implementations of the drawing messages paint nothing themselves.
/// Thread-safety: main thread only.
class Cell : public hosts::Cell {
 public:
  using hosts::Cell::Cell;
  /// Paints the badge by sending the drawing messages that the bundle replaces.
  virtual void draw(const Pass& pass) = 0;
};

/// The views of the host whose items show an icon.
enum class CellKind { Icon, List, Desktop };

/// Creates the cells: of class "IKIconCell" for icon views, "TListViewIconAndTextCell" for detailed
/// lists, "TDesktopIcon" for the desktop.
/// Thread-safety: main thread only.
/// Ownership: the cells use its classes and its image cache, and must not outlive it.
class Cells {
 public:
  explicit Cells(platform::Runtime& runtime);
  Cells(const Cells&) = delete;
  Cells& operator=(const Cells&) = delete;

  std::shared_ptr<Cell> make(CellKind kind, std::shared_ptr<hosts::Node> node,
                             std::shared_ptr<hosts::View> view);

 private:
  void registerDesktopIcons(platform::Runtime& runtime);

  const hosts::CellClasses classes_;
  std::shared_ptr<platform::Class> desktopIcons_;
  std::shared_ptr<platform::Class> layers_;
  ImageCache images_;
};

}  // namespace wevora::pcmanfmqt
