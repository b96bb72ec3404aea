#pragma once

#include "Platform/Graphics/DrawingTarget.h"

using cairo_t = struct _cairo;  // NOLINT(bugprone-reserved-identifier): the library's own name

namespace wevora::platform {

/// Draws with cairo. The context's units are points and its y grows downwards, as cairo has it;
/// where `flipped` is false the target turns y around within `height`.
/// Threads: one at a time. Owns: a share of the context. Errors: none.
class CairoTarget : public DrawingTarget {
 public:
  struct Space {
    double deviceScale = 1.0;
    bool flipped = true;
    double height = 0;  ///< points; needed where not flipped
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
