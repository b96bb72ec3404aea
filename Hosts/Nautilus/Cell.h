#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "Hosts/Common/CellClasses.h"
#include "Hosts/Common/ImageWrapper.h"
#include "Hosts/Common/Node.h"
#include "Hosts/Common/RecordingTarget.h"
#include "Hosts/Common/View.h"
#include "Hosts/Nautilus/HostWidgets.h"
#include "Hosts/Nautilus/SnapshotTarget.h"
#include "Platform/Graphics/Geometry.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::nautilus {

/// The cell of one item in one cell widget. A recycled widget gets a new cell for its new item.
/// Outside of `draw`, the drawing methods do nothing.
/// Thread-safety: main thread only.
class Cell : public hosts::Cell {
 public:
  Cell(platform::Class& isa, CellKind kind, std::shared_ptr<hosts::Node> node,
       std::shared_ptr<hosts::View> view);

  /// The parameters of one drawing pass.
  struct Pass {
    GtkWidget* widget;
    GtkWidget* icon;  ///< the child widget that shows the icon; null if there is none
    GtkSnapshot* snapshot;
    TextureCache& textures;
    platform::Class& imageWrappers;
  };
  /// Draws the widget by sending the drawing messages that the bundle replaces. The host's own
  /// drawing runs exactly once, even if the bundle's methods throw or do not call it.
  void draw(const Pass& pass);

  void drawInteriorWithFrame(const platform::Rect& frame, const platform::Id& inView) override;
  void drawImage(const platform::Id& wrapper) override;
  void drawIconWithFrame(const platform::Rect& frame) override;
  platform::ImageRef thumbnail() const override { return icon_; }

 private:
  void sendGridDrawing();
  void sendListDrawing();
  /// The host's own drawing of the whole widget; only the first call in a pass draws.
  void drawHost();
  std::optional<platform::Rect> iconRect() const;
  SnapshotTarget targetAt(double x, double y) const;

  const CellKind kind_;
  /// The recording of what is drawn into the icon's image. Shared with the image, which may outlive
  /// the cell.
  struct Painting {
    bool open = false;  ///< whether the icon is being drawn
    double deviceScale = 1.0;
    std::shared_ptr<hosts::RecordingTarget> recording;
    /// Null unless the icon is being drawn.
    std::shared_ptr<hosts::RecordingTarget> target();
  };
  const std::shared_ptr<Painting> painting_ = std::make_shared<Painting>();
  const platform::ImageRef icon_;  // transparent, because GTK shows the icon
  std::shared_ptr<hosts::ImageWrapper> wrapper_;

  const Pass* pass_ = nullptr;
  std::optional<platform::Rect> iconRect_;  // of the current pass
  bool hostDrawn_ = false;
};

}  // namespace wevora::nautilus
