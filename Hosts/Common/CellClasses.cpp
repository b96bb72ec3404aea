#include "Hosts/Common/CellClasses.h"

#include "Hosts/Common/ImageWrapper.h"
#include "Hosts/Common/NewClass.h"

namespace wevora::hosts {
namespace {

using platform::Class;
using platform::Id;
using platform::ImageRef;
using platform::Implementation;
using platform::Rect;

Cell& asCell(const Id& self) {
  return static_cast<Cell&>(*self);
}

std::shared_ptr<Class> registerCells(platform::Runtime& runtime, const char* name) {
  auto cells = newClass(runtime, name);
  cells->addMethod("representedItem",
                   Implementation::of<Id()>([](const Id& self) { return Id(asCell(self).node()); }),
                   "@@:");
  cells->addMethod("node", Implementation::of<const TFENode*()>([](const Id& self) {
                     return asCell(self).node()->reference();
                   }),
                   "^v@:");
  for (const char* view : {"view", "controlView"})
    cells->addMethod(
        view, Implementation::of<Id()>([](const Id& self) { return Id(asCell(self).view()); }),
        "@@:");
  return cells;
}

void addIconDrawing(Class& cells) {
  cells.addMethod("drawImage:", Implementation::of<void(Id)>([](const Id& self, const Id& wrapper) {
                    asCell(self).drawImage(wrapper);
                  }),
                  "v@:@");
  cells.addMethod(
      "drawInteriorWithFrame:inView:",
      Implementation::of<void(Rect, Id)>([](const Id& self, const Rect& frame, const Id& view) {
        asCell(self).drawInteriorWithFrame(frame, view);
      }),
      "v@:{CGRect={CGPoint=dd}{CGSize=dd}}@");
}

void addListDrawing(Class& cells) {
  cells.addMethod(
      "drawIconWithFrame:", Implementation::of<void(Rect)>([](const Id& self, const Rect& frame) {
        asCell(self).drawIconWithFrame(frame);
      }),
      "v@:{CGRect={CGPoint=dd}{CGSize=dd}}");
  cells.addMethod("thumbnail", Implementation::of<ImageRef()>([](const Id& self) {
                    return asCell(self).thumbnail();
                  }),
                  "@@:");
  // The thumbnail represents the icon that the host itself draws, so it is never replaced.
  cells.addMethod("setThumbnail:",
                  Implementation::of<void(ImageRef)>([](const Id&, const ImageRef&) {}), "v@:@");
}

}  // namespace

CellClasses::CellClasses(platform::Runtime& runtime)
    : iconCells_(registerCells(runtime, "IKIconCell")),
      listCells_(registerCells(runtime, "TListViewIconAndTextCell")),
      imageWrappers_(ImageWrapper::registerIn(runtime)) {
  addIconDrawing(*iconCells_);
  addListDrawing(*listCells_);
}

}  // namespace wevora::hosts
