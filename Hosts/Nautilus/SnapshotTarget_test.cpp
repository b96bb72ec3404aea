// Frames are rendered by cairo, so no display is needed.

#include "Hosts/Nautilus/SnapshotTarget.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Graphics/GraphicsContext.h"
#include "Platform/Graphics/Image.h"

namespace wevora::nautilus {
namespace {

using hosts::RecordingTarget;
using platform::Bitmap;
using platform::BitmapRef;
using platform::Rect;

constexpr std::uint32_t kRed = 0xFFFF0000;
constexpr std::uint32_t kGreen = 0xFF00FF00;
constexpr std::uint32_t kBlue = 0xFF0000FF;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;
constexpr int kSide = 8;  // points of the frame

/// A frame that the host composes.
class Frame {
 public:
  explicit Frame(double scale = 1, bool hasHardware = true)
      : scale_(scale), hasHardware_(hasHardware), snapshot_(gtk_snapshot_new()) {
    g_type_ensure(GSK_TYPE_COLOR_NODE);  // GTK registers the type only with a display
  }
  ~Frame() { g_object_unref(snapshot_); }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  SnapshotTarget target(float x = 0, float y = 0) {
    return {snapshot_,
            textures_,
            {.origin = {x, y}, .deviceScale = scale_, .hasHardware = hasHardware_}};
  }
  /// The host's own drawing.
  void fill(const GdkRGBA& colour) {
    const graphene_rect_t all{{0, 0}, {kSide, kSide}};
    gtk_snapshot_append_color(snapshot_, &colour, &all);
  }
  TextureCache& textures() { return textures_; }

  bool hasTexture() { return node() != nullptr && isOrHas(GSK_TEXTURE_NODE, node()); }
  bool hasClip() { return node() != nullptr && isOrHas(GSK_CLIP_NODE, node()); }

  /// The device pixels of the frame, the top row first.
  std::vector<std::uint32_t> pixels() {
    const int side = static_cast<int>(kSide * scale_);
    std::vector<std::uint32_t> rows(static_cast<std::size_t>(side) *
                                    static_cast<std::size_t>(side));
    cairo_surface_t* surface = cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(rows.data()), CAIRO_FORMAT_ARGB32, side, side, side * 4);
    cairo_t* cairo = cairo_create(surface);
    cairo_scale(cairo, scale_, scale_);
    if (node() != nullptr) gsk_render_node_draw(node(), cairo);
    cairo_destroy(cairo);
    cairo_surface_finish(surface);
    cairo_surface_destroy(surface);
    return rows;
  }

 private:
  struct NodeUnref {
    void operator()(GskRenderNode* node) const noexcept { gsk_render_node_unref(node); }
  };
  /// Ends the frame; null if nothing was drawn.
  GskRenderNode* node() {
    if (!std::exchange(ended_, true)) node_.reset(gtk_snapshot_to_node(snapshot_));
    return node_.get();
  }
  static bool isOrHas(GskRenderNodeType wanted, GskRenderNode* node) {
    const auto type = gsk_render_node_get_node_type(node);
    if (type != GSK_CONTAINER_NODE) return type == wanted;
    for (guint i = 0; i < gsk_container_node_get_n_children(node); ++i)
      if (isOrHas(wanted, gsk_container_node_get_child(node, i))) return true;
    return false;
  }

  const double scale_;
  const bool hasHardware_;
  GtkSnapshot* const snapshot_;
  TextureCache textures_;
  bool ended_ = false;
  std::unique_ptr<GskRenderNode, NodeUnref> node_;
};

BitmapRef plain(std::uint32_t colour, std::size_t width = 2, std::size_t height = 2) {
  return Bitmap::make(width, height, std::vector<std::uint32_t>(width * height, colour));
}

/// Red above blue.
BitmapRef upright() {
  return Bitmap::make(2, 2, {kRed, kRed, kBlue, kBlue});
}

/// The frame's pixels as text, one letter per pixel.
std::vector<std::string> letters(const std::vector<std::uint32_t>& pixels) {
  const auto side = static_cast<std::size_t>(kSide) *
                    static_cast<std::size_t>(pixels.size() == kSide * kSide ? 1 : 2);
  std::vector<std::string> rows;
  for (std::size_t y = 0; y < side; ++y) {
    std::string row;
    for (std::size_t x = 0; x < side; ++x) {
      const auto pixel = pixels[y * side + x];
      row += pixel == kRed     ? 'r'
             : pixel == kGreen ? 'g'
             : pixel == kBlue  ? 'b'
             : pixel == 0      ? '.'
                               : '?';
    }
    rows.push_back(row);
  }
  return rows;
}

using Rows = std::vector<std::string>;

TEST(SnapshotTargetTest, ABitmapFillsItsDestination) {
  Frame frame;
  frame.target().drawBitmap(plain(kRed), {.source = {0, 0, 2, 2}, .destination = {1, 2, 4, 3}});
  EXPECT_EQ(letters(frame.pixels()), (Rows{"........", "........", ".rrrr...", ".rrrr...",
                                           ".rrrr...", "........", "........", "........"}));
}

TEST(SnapshotTargetTest, TheTargetStartsAtItsOrigin) {
  Frame frame;
  frame.target(3, 4).drawBitmap(plain(kRed), {.source = {0, 0, 2, 2}, .destination = {1, 0, 2, 2}});
  EXPECT_EQ(letters(frame.pixels()), (Rows{"........", "........", "........", "........",
                                           "....rr..", "....rr..", "........", "........"}));
}

TEST(SnapshotTargetTest, TheTopRowOfABitmapIsAboveUnlessItIsUpsideDown) {
  for (const bool upsideDown : {false, true}) {
    Frame frame;
    frame.target().drawBitmap(
        upright(), {.source = {0, 0, 2, 2}, .destination = {2, 2, 2, 2}, .upsideDown = upsideDown});
    const auto rows = letters(frame.pixels());
    EXPECT_EQ(rows[2], upsideDown ? "..bb...." : "..rr....");
    EXPECT_EQ(rows[3], upsideDown ? "..rr...." : "..bb....");
  }
}

TEST(SnapshotTargetTest, OnlyTheSourceOfABitmapIsDrawn) {
  Frame frame;
  frame.target().drawBitmap(Bitmap::make(4, 2,
                                         {kRed, kRed, kGreen, kBlue,  //
                                          kRed, kRed, kGreen, kBlue}),
                            {.source = {2, 0, 2, 2}, .destination = {2, 2, 2, 2}});
  EXPECT_EQ(letters(frame.pixels()), (Rows{"........", "........", "..gb....", "..gb....",
                                           "........", "........", "........", "........"}));
}

TEST(SnapshotTargetTest, TheHostsDrawingIsKeptAroundTheBitmap) {
  Frame frame;
  frame.fill({0, 1, 0, 1});
  frame.target().drawBitmap(plain(kRed), {.source = {0, 0, 2, 2}, .destination = {0, 6, 2, 2}});
  EXPECT_EQ(letters(frame.pixels()), (Rows{"gggggggg", "gggggggg", "gggggggg", "gggggggg",
                                           "gggggggg", "gggggggg", "rrgggggg", "rrgggggg"}));
}

TEST(SnapshotTargetTest, AFractionBlendsTheBitmapWithTheHostsDrawing) {
  Frame frame;
  frame.fill({1, 1, 1, 1});
  frame.target().drawBitmap(plain(0xFF000000),
                            {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}, .fraction = 0.5});
  const auto pixels = frame.pixels();
  EXPECT_NEAR(pixels[0] & 0xFFU, 128, 2);
  EXPECT_EQ(pixels[7], kWhite);
}

TEST(SnapshotTargetTest, ADrawingDoesNotAffectThePositionOfTheNext) {
  Frame frame;
  auto target = frame.target();
  target.drawBitmap(upright(),
                    {.source = {0, 0, 2, 2}, .destination = {4, 4, 2, 2}, .upsideDown = true});
  target.drawBitmap(plain(kGreen), {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}});
  const auto rows = letters(frame.pixels());
  EXPECT_EQ(rows[0], "gg......");
  EXPECT_EQ(rows[4], "....bb..");
}

TEST(SnapshotTargetTest, OnAHighDensityDisplayTheHighDensityRepresentationIsDrawnUnscaled) {
  platform::Image image({2, 2});
  const std::vector<platform::ImageRep> reps = {
      {.bitmap = plain(kGreen), .size = {2, 2}},
      {.bitmap = Bitmap::make(4, 4,
                              {kRed, kBlue, kRed, kBlue, kBlue, kRed, kBlue, kRed,  //
                               kRed, kBlue, kRed, kBlue, kBlue, kRed, kBlue, kRed}),
       .size = {2, 2}}};
  image.addRepresentations(reps);
  image.setFlipped(true);  // the frame's y grows downwards
  Frame frame(2);
  auto target = frame.target(1, 0);
  {
    const platform::CurrentTarget current(target);
    image.drawInRect({0, 0, 2, 2}, {}, platform::CompositingOperation::SourceOver, 1.0);
  }
  const auto rows = letters(frame.pixels());
  EXPECT_EQ(rows[0], "..rbrb..........");
  EXPECT_EQ(rows[1], "..brbr..........");
  EXPECT_EQ(rows[2], "..rbrb..........");
  EXPECT_EQ(rows[3], "..brbr..........");
  EXPECT_EQ(rows[4], "................");
}

constexpr platform::BitmapDrawing kUnscaled{.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}};

TEST(SnapshotTargetTest, WithoutHardwareTheSamePixelsAreDrawnWithoutATexture) {
  for (const double scale : {1.0, 2.0}) {
    std::vector<std::vector<std::uint32_t>> drawn;
    for (const bool hasHardware : {true, false}) {
      Frame frame(scale, hasHardware);
      frame.fill({0, 1, 0, 1});
      auto target = frame.target(1, 2);
      target.drawBitmap(upright(), {.source = {0, 0, 2, 2}, .destination = {1, 1, 4, 4}});
      target.drawBitmap(plain(0x80000080),
                        {.source = {0, 0, 2, 2}, .destination = {2, 0, 2, 3}, .fraction = 0.5});
      EXPECT_EQ(frame.hasTexture(), hasHardware);
      drawn.push_back(frame.pixels());
    }
    EXPECT_EQ(drawn[0], drawn[1]) << scale;
    EXPECT_NE(drawn[0], std::vector<std::uint32_t>(drawn[0].size(), kGreen));
  }
}

TEST(SnapshotTargetTest, ABitmapThatIsDrawnAgainHasTheCachedTexture) {
  Frame frame;
  const auto bitmap = plain(kRed);
  GdkTexture* const first = frame.textures().of(bitmap, kUnscaled, 1).texture.get();
  EXPECT_EQ(frame.textures().of(bitmap, kUnscaled, 1).texture.get(), first);
  EXPECT_NE(frame.textures().of(plain(kRed), kUnscaled, 1).texture.get(), first);
}

TEST(SnapshotTargetTest, ABitmapHasATextureForEachSizeSourceAndOrientation) {
  Frame frame;
  const auto bitmap = upright();
  GdkTexture* const first = frame.textures().of(bitmap, kUnscaled, 1).texture.get();
  auto drawing = kUnscaled;
  drawing.upsideDown = true;
  EXPECT_NE(frame.textures().of(bitmap, drawing, 1).texture.get(), first);
  drawing = kUnscaled;
  drawing.destination.width = 3;
  EXPECT_NE(frame.textures().of(bitmap, drawing, 1).texture.get(), first);
  drawing = kUnscaled;
  drawing.source.width = 1;
  EXPECT_NE(frame.textures().of(bitmap, drawing, 1).texture.get(), first);
  EXPECT_NE(frame.textures().of(bitmap, kUnscaled, 2).texture.get(), first);
  drawing = kUnscaled;
  drawing.destination.x = 5;
  EXPECT_EQ(frame.textures().of(bitmap, drawing, 1).texture.get(), first) << "only elsewhere";
}

TEST(SnapshotTargetTest, ATextureHasTheResolutionOfTheDisplay) {
  Frame frame;
  const BitmapRef large = plain(kRed, 64, 64);
  const platform::BitmapDrawing drawing{.source = {0, 0, 64, 64}, .destination = {0, 0, 12, 10}};
  for (const int scale : {1, 2}) {
    const auto& cached = frame.textures().of(large, drawing, scale);
    EXPECT_EQ(gdk_texture_get_width(cached.texture.get()), 12 * scale);
    EXPECT_EQ(gdk_texture_get_height(cached.texture.get()), 10 * scale);
  }
}

TEST(SnapshotTargetTest, ATextureIsCroppedToTheVisiblePixelsAndOneAroundThem) {
  std::vector<std::uint32_t> pixels(std::size_t{8} * 8, 0);
  pixels[6 * 8 + 1] = kRed;  // near the lower left corner
  const auto bitmap = Bitmap::make(8, 8, pixels);
  const platform::BitmapDrawing drawing{.source = {0, 0, 8, 8}, .destination = {0, 0, 8, 8}};
  Frame frame;
  const auto& cached = frame.textures().of(bitmap, drawing, 1);
  EXPECT_EQ(gdk_texture_get_width(cached.texture.get()), 3);
  EXPECT_EQ(cached.part.x, 0);
  EXPECT_EQ(cached.part.y, 5);
  frame.target().drawBitmap(bitmap, drawing);
  EXPECT_EQ(letters(frame.pixels()), (Rows{"........", "........", "........", "........",
                                           "........", "........", ".r......", "........"}));
}

TEST(SnapshotTargetTest, ATransparentBitmapHasNoTexture) {
  Frame frame;
  EXPECT_EQ(frame.textures().of(plain(0), kUnscaled, 1).texture, nullptr);
  frame.target().drawBitmap(plain(0), kUnscaled);
  EXPECT_EQ(letters(frame.pixels())[0], "........");
}

TEST(SnapshotTargetTest, BitmapsAreDrawnAfterTheCacheIsEvicted) {
  Frame frame;
  for (std::size_t i = 0; i <= TextureCache::kMaxEntries; ++i)
    frame.target().drawBitmap(plain(kBlue), {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}});
  frame.target().drawBitmap(plain(kRed), {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}});
  EXPECT_EQ(letters(frame.pixels())[0], "rr......");
}

/// A recording of a square of 4 points at a position.
RecordingTarget recordingAt(double x, double y) {
  RecordingTarget recording(1);
  recording.drawBitmap(plain(kRed), {.source = {0, 0, 2, 2}, .destination = {x, y, 4, 4}});
  return recording;
}

TEST(SnapshotTargetTest, ARecordingWithinTheEdgesIsDrawnWithoutAClip) {
  Frame frame;
  frame.target(1, 1).drawRecorded(recordingAt(2, 0), {6, 6});
  EXPECT_FALSE(frame.hasClip());
  EXPECT_EQ(letters(frame.pixels()), (Rows{"........", "........", "........", "...rrrr.",
                                           "...rrrr.", "...rrrr.", "...rrrr.", "........"}));
}

TEST(SnapshotTargetTest, ARecordingBeyondTheEdgesIsClipped) {
  Frame frame;
  frame.target(1, 1).drawRecorded(recordingAt(3, 4), {6, 6});
  EXPECT_TRUE(frame.hasClip());
  EXPECT_EQ(letters(frame.pixels()), (Rows{"........", "....rrr.", "....rrr.", "........",
                                           "........", "........", "........", "........"}));
}

TEST(RecordingTargetTest, ARecordingWithUpwardYIsReplayedWithDownwardY) {
  RecordingTarget recording(1);
  recording.drawBitmap(upright(), {.source = {0, 0, 2, 2}, .destination = {1, 0, 2, 2}});
  Frame frame;
  auto target = frame.target();
  recording.replay(target, 6);
  const auto rows = letters(frame.pixels());
  EXPECT_EQ(rows[3], "........");
  EXPECT_EQ(rows[4], ".rr.....");
  EXPECT_EQ(rows[5], ".bb.....");
  EXPECT_EQ(rows[6], "........");
}

TEST(RecordingTargetTest, AnEmptyRecordingReplaysNothing) {
  const RecordingTarget recording(2);
  EXPECT_EQ(recording.deviceScale(), 2);
  Frame frame;
  auto target = frame.target();
  recording.replay(target, 6);
  EXPECT_EQ(letters(frame.pixels())[0], "........");
}

}  // namespace
}  // namespace wevora::nautilus
