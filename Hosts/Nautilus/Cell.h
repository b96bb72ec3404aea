#pragma once

#include <memory>
#include <utility>

#include "Hosts/Nautilus/HostWidgets.h"
#include "Hosts/Nautilus/Node.h"
#include "Hosts/Nautilus/SnapshotTarget.h"
#include "Hosts/Nautilus/View.h"
#include "Platform/Graphics/Geometry.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::nautilus {

/// One item in one cell widget: "IKIconCell" in the icon view, "TListViewIconAndTextCell" in the
/// list. A widget that is taken for another item gets another cell.
/// Threads: the main thread. Owns: its node, its view, what was painted into its icon.
/// Errors: none; outside of `draw` its drawing operations do nothing.
class Cell : public platform::Object {
 public:
  Cell(platform::Class& isa, CellKind kind, std::shared_ptr<Node> node, std::shared_ptr<View> view)
      : Object(isa), kind_(kind), node_(std::move(node)), view_(std::move(view)) {}

  const std::shared_ptr<Node>& node() const noexcept { return node_; }
  const std::shared_ptr<View>& view() const noexcept { return view_; }
  const platform::ImageRef& thumbnail() const noexcept { return thumbnail_; }
  void setThumbnail(platform::ImageRef thumbnail) { thumbnail_ = std::move(thumbnail); }

  /// A frame of the host: what the cell is drawn with.
  struct Frame {
    GtkWidget* widget;
    GtkSnapshot* snapshot;
    Textures& textures;
  };
  /// Draws the widget by the messages that the bundle stands in for. The host's own drawing has
  /// been done once when this returns, whatever the bundle does.
  void draw(const Frame& frame);

  /// The host's own drawing of the whole widget; only the first in a frame draws.
  void drawHost();
  /// What follows the host's drawing of an icon in the icon view.
  void drawImage(const platform::Id& wrapper);
  void drawIconOverlay();

 private:
  void drawGridCell();
  void drawListCell();

  const CellKind kind_;
  const std::shared_ptr<Node> node_;
  const std::shared_ptr<View> view_;
  platform::ImageRef thumbnail_;

  const Frame* frame_ = nullptr;  // while drawing
  bool hostDrawn_ = false;
  platform::ImageRef icon_;
  std::shared_ptr<NotingTarget> overlay_;
  graphene_rect_t iconFrame_{};
};

/// An image on its way to a cell: "IKImageWrapper".
/// Threads: the main thread. Owns: a share of the image. Errors: none.
class ImageWrapper : public platform::Object {
 public:
  using Object::Object;
  platform::ImageRef image;
};

}  // namespace wevora::nautilus
