#pragma once

#include <memory>
#include <utility>

#include "Hosts/Common/Node.h"
#include "Hosts/Common/View.h"
#include "Platform/Graphics/Geometry.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// A cell: draws one item in one of the host's views. The virtual methods are the host's own
/// implementations of the drawing messages that the bundle replaces; by default they do nothing.
/// Thread-safety: main thread only.
class Cell : public platform::Object, public std::enable_shared_from_this<Cell> {
 public:
  Cell(platform::Class& isa, std::shared_ptr<Node> node, std::shared_ptr<View> view)
      : Object(isa), node_(std::move(node)), view_(std::move(view)) {}

  // -representedItem, -node
  const std::shared_ptr<Node>& node() const noexcept { return node_; }
  // -view, -controlView
  const std::shared_ptr<View>& view() const noexcept { return view_; }

  // -drawInteriorWithFrame:inView:
  virtual void drawInteriorWithFrame(const platform::Rect& /*frame*/,
                                     const platform::Id& /*inView*/) {}
  // -drawImage:
  virtual void drawImage(const platform::Id& /*wrapper*/) {}
  // -drawIconWithFrame:
  virtual void drawIconWithFrame(const platform::Rect& /*frame*/) {}
  /// A list cell must not return null: the bundle paints a badge over a thumbnail, but replaces a
  /// missing one.
  // -thumbnail
  virtual platform::ImageRef thumbnail() const { return nullptr; }

 private:
  const std::shared_ptr<Node> node_;
  const std::shared_ptr<View> view_;
};

/// Registers the cell classes with the selectors that the bundle uses: "IKIconCell" for icon views,
/// "TListViewIconAndTextCell" for lists, and "IKImageWrapper", the argument of `drawImage:`.
/// Objects of the first two must be of type Cell. Thread-safety: main thread only. Errors: throws
/// HostException if one of the names is already registered.
class CellClasses {
 public:
  explicit CellClasses(platform::Runtime& runtime);

  platform::Class& iconCells() const noexcept { return *iconCells_; }
  platform::Class& listCells() const noexcept { return *listCells_; }
  platform::Class& imageWrappers() const noexcept { return *imageWrappers_; }

 private:
  std::shared_ptr<platform::Class> iconCells_;
  std::shared_ptr<platform::Class> listCells_;
  std::shared_ptr<platform::Class> imageWrappers_;
};

}  // namespace wevora::hosts
