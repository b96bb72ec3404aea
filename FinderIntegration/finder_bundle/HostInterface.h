#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "FinderIntegration/finder_bundle/Tools/TFENode.h"
#include "Platform/Graphics/DrawingTarget.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

// The messages that the drawing hooks and the sidebar's proxy send to the host's classes. A host
// must pass exactly these types to Implementation::of. If a class or method is missing, the step
// that needs it does nothing. "+" marks class methods.
//
//   IKIconCell, IKFinderReflectiveIconCell (each with its own drawImage:)
//     drawImage:                          void(Id wrapper), null without an IKImageWrapper
//     drawInteriorWithFrame:inView:       void(Rect frame, Id view)
//     representedItem                     Id, a FINode
//   IKImageWrapper
//     +alloc                              Id
//     initWithNSImage:                    Id(ImageRef)
//     _nsImage                            ImageRef
//   TListViewIconAndTextCell, TColumnCell (a subclass of it)
//     drawIconWithFrame:                  void(Rect frame)
//     node                                const TFENode*, valid until the cell is drawn
//     view                                Id
//     thumbnail                           ImageRef
//     setThumbnail:                       void(ImageRef)
//   TDesktopIcon, with the instance variables "_icon" (Id, the icon's layer) and "_node" (TFENode)
//     drawLayer:inContext:                void(Id layer, DrawingTarget* context)
//     setNeedsDisplay                     void()
//   a layer
//     frame                               Rect
//   TDesktopViewController
//     +sharedDesktopViewController        Id
//     view                                Id
//   TBrowserWindowController
//     +controllerWithID:                  Id(std::int64_t)
//     sidebarViewContainer                Id
//     browserViewContainer                Id
//   a view
//     subviews                            std::vector<Id>
//     setNeedsDisplay:                    void(bool)
//   TSidebarView
//     delegate                            Id
//     setDelegate:                        void(Id)
//   the delegate of a TSidebarView; every method is optional
//     outlineView:willDisplayCell:forTableColumn:item:    void(Id, Id, Id, Id)
//     outlineView:dataCellForTableColumn:item:            Id(Id, Id, Id)
//     outlineView:viewForTableColumn:item:                Id(Id, Id, Id)
//     outlineView:isGroupItem:                            bool(Id, Id)
//     outlineView:heightOfRowByItem:                      double(Id, Id)
//   a sidebar's item
//     name                                std::optional<std::string>
//   a sidebar's cell
//     setImage:                           void(Id), an NSSidebarImage
//   NSSidebarImage
//     +alloc                              Id
//     initWithSourceImage:                Id(ImageRef)
//   FINode
//     +nodeFromNodeRef:                   Id(TFENode)
//     previewItemURL                      std::optional<ItemURL>
//
// While a cell is drawn (drawImage:, drawIconWithFrame:), the host sets the current drawing target
// with CurrentTarget; drawLayer:inContext: receives its own. List cells and desktop layers are
// drawn in flipped targets (y grows downwards), where their badges are upright. A host whose icons
// have no pixels to draw into gives the wrapper's image a FocusMaker.

namespace wevora {

using platform::DrawingTarget;
using platform::Id;
using platform::ImageRef;
using platform::Rect;

}  // namespace wevora
