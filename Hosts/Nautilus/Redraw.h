#pragma once

#include <gtk/gtk.h>
#include <memory>
#include <utility>

#include "Hosts/Common/View.h"
#include "Hosts/Nautilus/ObjectProperties.h"

namespace wevora::nautilus {

/// A view's redraw callback, which calls `draw` with the widget, and does nothing after the widget
/// was destroyed.
template <class Draw>
hosts::View::Redraw redrawing(GtkWidget* widget, Draw draw) {
  return [weak = std::make_shared<const GWeak<GtkWidget>>(widget), draw = std::move(draw)] {
    if (const auto shown = weak->get()) draw(shown.get());
  };
}

}  // namespace wevora::nautilus
