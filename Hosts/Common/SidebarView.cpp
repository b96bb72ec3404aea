#include "Hosts/Common/SidebarView.h"

#include "Hosts/Common/NewClass.h"

namespace wevora::hosts {

using platform::Class;
using platform::Id;
using platform::ImageRef;
using platform::Implementation;
using platform::send;

namespace {

constexpr const char* kWillDisplay = "outlineView:willDisplayCell:forTableColumn:item:";

/// "NSSidebarImage": an image for a sidebar row.
class SidebarImage : public platform::Object {
 public:
  using Object::Object;
  ImageRef image;
};

}  // namespace

SidebarClasses::SidebarClasses(platform::Runtime& runtime, Class& views) {
  sidebars_ = newClass(runtime, "TSidebarView", &views);
  sidebars_->addMethod("delegate", Implementation::of<Id()>([](const Id& self) {
                         return static_cast<const SidebarView&>(*self).delegate;
                       }),
                       "@@:");
  sidebars_->addMethod(
      "setDelegate:", Implementation::of<void(Id)>([](const Id& self, const Id& delegate) {
        static_cast<SidebarView&>(*self).delegate = delegate;
      }),
      "v@:@");
  delegates_ = newClass(runtime, "TSidebarViewController");
  delegates_->addMethod(kWillDisplay,
                        Implementation::of<void(Id, Id, Id, Id)>(
                            [](const Id&, const Id&, const Id&, const Id&, const Id&) {}),
                        "v@:@@@@");
  rows_ = newClass(runtime, "TSidebarItemCell");
  rows_->addMethod("name", Implementation::of<std::optional<std::string>()>([](const Id& self) {
                     return static_cast<const SidebarRow&>(*self).name();
                   }),
                   "@@:");
  rows_->addMethod("setImage:", Implementation::of<void(Id)>([](const Id& self, const Id& wrapped) {
                     const auto made = std::dynamic_pointer_cast<SidebarImage>(wrapped);
                     if (made && made->image)
                       static_cast<SidebarRow&>(*self).setImage(*made->image);
                   }),
                   "v@:@");
  registerImages(runtime);
}

void SidebarClasses::registerImages(platform::Runtime& runtime) {
  images_ = newClass(runtime, "NSSidebarImage");
  images_->addClassMethod("alloc", Implementation::of<Id()>([this](const Id&) -> Id {
                            return std::make_shared<SidebarImage>(*images_);
                          }),
                          "@@:");
  images_->addMethod("initWithSourceImage:",
                     Implementation::of<Id(ImageRef)>([](const Id& self, const ImageRef& image) {
                       static_cast<SidebarImage&>(*self).image = image;
                       return self;
                     }),
                     "@@:@");
}

std::shared_ptr<SidebarView> SidebarClasses::make(View::Redraw redraw) const {
  auto sidebar = std::make_shared<SidebarView>(*sidebars_, std::move(redraw));
  sidebar->hostDelegate = std::make_shared<platform::Object>(*delegates_);
  send<void>(Id(sidebar), "setDelegate:", sidebar->hostDelegate);
  return sidebar;
}

void SidebarClasses::willDisplay(const std::shared_ptr<SidebarView>& sidebar,
                                 const std::shared_ptr<SidebarRow>& row) {
  const Id delegate = send<Id>(Id(sidebar), "delegate");
  if (!delegate || !delegate->respondsToSelector(kWillDisplay)) return;
  send<void>(delegate, kWillDisplay, Id(sidebar), Id(row), Id(), Id(row));
}

}  // namespace wevora::hosts
