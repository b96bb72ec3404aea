#pragma once

#include <memory>
#include <optional>
#include <utility>

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

/// One item in one cell widget: "IKIconCell" in the icon view, "TListViewIconAndTextCell" in the
/// list. A widget that is taken for another item gets another cell.
/// Threads: the main thread. Owns: its node, its view, what was painted into its icon.
/// Errors: none; outside of `draw` its drawing operations do nothing.
class Cell : public platform::Object, public std::enable_shared_from_this<Cell> {
 public:
  Cell(platform::Class& isa, CellKind kind, std::shared_ptr<hosts::Node> node,
       std::shared_ptr<hosts::View> view);

  const std::shared_ptr<hosts::Node>& node() const noexcept { return node_; }
  const std::shared_ptr<hosts::View>& view() const noexcept { return view_; }

  /// What the cell is drawn with.
  struct Pass {
    GtkWidget* widget;
    GtkWidget* icon;  ///< the part of the widget that shows the icon; null where none does
    GtkSnapshot* snapshot;
    TextureCache& textures;
    platform::Class& imageWrappers;
  };
  /// Draws the widget by the messages that the bundle stands in for. The host's own drawing has
  /// been done once when this returns, whatever the bundle does.
  void draw(const Pass& pass);

  // What the host does itself when it is sent these.
  // -drawInteriorWithFrame:inView:
  void drawInteriorWithFrame(const platform::Rect& frame, const platform::Id& inView);
  // -drawImage:
  void drawImage(const platform::Id& wrapper);
  // -drawIconWithFrame:
  void drawIconWithFrame(const platform::Rect& frame);
  /// Never null: what the host shows is the thumbnail, and is not replaced.
  // -thumbnail
  const platform::ImageRef& thumbnail() const noexcept { return icon_; }

 private:
  void sendGridDrawing();
  void sendListDrawing();
  /// The host's drawing of the whole widget; only the first in a pass draws.
  void drawHost();
  std::optional<platform::Rect> iconRect() const;
  SnapshotTarget targetAt(double x, double y) const;

  const CellKind kind_;
  const std::shared_ptr<hosts::Node> node_;
  const std::shared_ptr<hosts::View> view_;
  /// What is painted into the icon's image, which whoever has been given it may hold for longer.
  struct Painting {
    bool open = false;  ///< for as long as the icon is being drawn
    double deviceScale = 1.0;
    std::shared_ptr<hosts::RecordingTarget> painted;
    std::shared_ptr<hosts::RecordingTarget> target();
  };
  const std::shared_ptr<Painting> painting_ = std::make_shared<Painting>();
  const platform::ImageRef icon_;  // clear: GTK shows the icon
  std::shared_ptr<hosts::ImageWrapper> wrapper_;

  const Pass* pass_ = nullptr;
  std::optional<platform::Rect> iconRect_;  // in this pass
  bool hostDrawn_ = false;
};

}  // namespace wevora::nautilus
