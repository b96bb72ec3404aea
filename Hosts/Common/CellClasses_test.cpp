#include "Hosts/Common/CellClasses.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace wevora::hosts {
namespace {

using platform::Id;
using platform::ImageRef;
using platform::Rect;
using platform::send;

/// Records the drawing messages that it receives.
class RecordingCell : public Cell {
 public:
  using Cell::Cell;
  void drawInteriorWithFrame(const Rect& frame, const Id& inView) override {
    messages.emplace_back("drawInteriorWithFrame:inView:");
    lastFrame = frame;
    lastArgument = inView;
  }
  void drawImage(const Id& wrapper) override {
    messages.emplace_back("drawImage:");
    lastArgument = wrapper;
  }
  void drawIconWithFrame(const Rect& frame) override {
    messages.emplace_back("drawIconWithFrame:");
    lastFrame = frame;
  }
  ImageRef thumbnail() const override { return icon; }

  const ImageRef icon = std::make_shared<platform::Image>();
  std::vector<std::string> messages;
  Rect lastFrame;
  Id lastArgument;
};

class CellClassesTest : public testing::Test {
 protected:
  std::shared_ptr<RecordingCell> cellOf(platform::Class& isa) {
    return std::make_shared<RecordingCell>(isa, node, view);
  }

  platform::Runtime runtime;
  Nodes nodes{runtime};
  std::shared_ptr<platform::Class> views = View::registerIn(runtime);
  CellClasses classes{runtime};
  std::shared_ptr<Node> node = nodes.make("file:///one");
  std::shared_ptr<View> view = std::make_shared<View>(*views, nullptr);
};

TEST_F(CellClassesTest, TheClassesAreRegisteredUnderTheNamesThatTheBundleLooksUp) {
  EXPECT_EQ(runtime.classNamed("IKIconCell").get(), &classes.iconCells());
  EXPECT_EQ(runtime.classNamed("TListViewIconAndTextCell").get(), &classes.listCells());
  EXPECT_EQ(runtime.classNamed("IKImageWrapper").get(), &classes.imageWrappers());
}

TEST_F(CellClassesTest, EveryCellReturnsItsNodeAndItsView) {
  for (platform::Class* isa : {&classes.iconCells(), &classes.listCells()}) {
    const Id cell = cellOf(*isa);
    EXPECT_EQ(send<Id>(cell, "representedItem"), node);
    EXPECT_EQ(send<const TFENode*>(cell, "node"), node->reference());
    EXPECT_EQ(send<Id>(cell, "view"), view);
    EXPECT_EQ(send<Id>(cell, "controlView"), view);
  }
}

TEST_F(CellClassesTest, AnIconCellReceivesItsDrawingMessages) {
  const auto cell = cellOf(classes.iconCells());
  send<void>(Id(cell), "drawInteriorWithFrame:inView:", Rect{1, 2, 3, 4}, Id(view));
  EXPECT_EQ(cell->lastFrame, (Rect{1, 2, 3, 4}));
  EXPECT_EQ(cell->lastArgument, view);
  send<void>(Id(cell), "drawImage:", Id(node));
  EXPECT_EQ(cell->lastArgument, node);
  EXPECT_EQ(cell->messages,
            (std::vector<std::string>{"drawInteriorWithFrame:inView:", "drawImage:"}));
  EXPECT_FALSE(cell->respondsToSelector("drawIconWithFrame:"));
}

TEST_F(CellClassesTest, AListCellReceivesItsDrawingMessages) {
  const auto cell = cellOf(classes.listCells());
  send<void>(Id(cell), "drawIconWithFrame:", Rect{1, 2, 3, 4});
  EXPECT_EQ(cell->lastFrame, (Rect{1, 2, 3, 4}));
  EXPECT_EQ(cell->messages, (std::vector<std::string>{"drawIconWithFrame:"}));
  EXPECT_FALSE(cell->respondsToSelector("drawImage:"));
}

TEST_F(CellClassesTest, TheThumbnailOfAListCellIsNotReplaced) {
  const auto cell = cellOf(classes.listCells());
  EXPECT_EQ(send<ImageRef>(Id(cell), "thumbnail"), cell->icon);
  send<void>(Id(cell), "setThumbnail:", ImageRef(std::make_shared<platform::Image>()));
  EXPECT_EQ(send<ImageRef>(Id(cell), "thumbnail"), cell->icon);
}

TEST_F(CellClassesTest, RegisteringANameThatIsTakenThrows) {
  for (const char* taken : {"IKIconCell", "TListViewIconAndTextCell", "IKImageWrapper"}) {
    platform::Runtime other;
    other.registerClass(taken);
    EXPECT_THROW(CellClasses{other}, platform::HostException) << taken;
  }
}

}  // namespace
}  // namespace wevora::hosts
