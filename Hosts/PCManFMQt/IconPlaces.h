#pragma once

#include <QAbstractItemView>
#include <QRectF>
#include <QSize>
#include <map>
#include <optional>
#include <utility>

namespace wevora::pcmanfmqt {

/// Computes the position of an item's icon, and so of its badge, in a view. Only the view's
/// delegate knows the margins: it paints one item into a recording device, and the recorded icon
/// rectangle is cached by the sizes of item and icon. Thread-safety: main thread only.
class IconPlaces {
 public:
  /// The square reserved for the icon, in the viewport's coordinates; nullopt for an item without
  /// an icon.
  std::optional<QRectF> iconBox(QAbstractItemView& view, const QModelIndex& index);
  /// The frame of the icon itself, which may be smaller than its box.
  static QRectF iconWithin(const QRectF& box, const QModelIndex& index);

 private:
  static constexpr std::size_t kMaxEntries = 256;  // a full cache is cleared
  using Size = std::pair<int, int>;
  std::map<std::pair<Size, Size>, QRectF> boxes_;  ///< by the sizes of item and icon
};

}  // namespace wevora::pcmanfmqt
