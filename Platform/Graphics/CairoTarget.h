#pragma once

#include "Platform/Graphics/DrawingTarget.h"

using cairo_t = struct _cairo;  // NOLINT(bugprone-reserved-identifier): the library's own name

namespace wevora::platform {

/// Draws into a cairo context whose units are points and whose y grows downwards. If `flipped` is
/// false, the target converts its own upward y within `height`.
/// Ownership: a reference to the context.
class CairoTarget : public DrawingTarget {
 public:
  struct Space {
    double deviceScale = 1.0;
    bool flipped = true;
    double height = 0;  ///< points; only used if not flipped
  };
  CairoTarget(cairo_t* context, Space space);
  ~CairoTarget() override;
  CairoTarget(const CairoTarget&) = delete;
  CairoTarget& operator=(const CairoTarget&) = delete;

  double deviceScale() const override { return space_.deviceScale; }
  bool isFlipped() const override { return space_.flipped; }
  void drawBitmap(const BitmapRef& bitmap, const BitmapDrawing& drawing) override;
  void save() override;
  void restore() override;

 private:
  cairo_t* const context_;
  const Space space_;
};

}  // namespace wevora::platform
