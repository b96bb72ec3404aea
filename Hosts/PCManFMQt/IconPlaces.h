#pragma once

#include <QAbstractItemView>
#include <QRectF>
#include <QSize>
#include <map>
#include <optional>
#include <utility>

namespace wevora::pcmanfmqt {

/// Where a view's delegate puts the icon of an item. Only the delegate knows its margins, and no
/// property tells of them: it is had paint an item once, and what it does is noted.
/// Threads: the main thread. Owns: what it has learnt. Errors: none for an item without an icon.
class IconPlaces {
 public:
  /// The square that is kept for icons, in the viewport's coordinates.
  std::optional<QRectF> iconBox(QAbstractItemView& view, const QModelIndex& index);
  /// The icon itself, which may be smaller.
  static QRectF iconWithin(const QRectF& box, const QModelIndex& index);

 private:
  static constexpr std::size_t kKept = 256;
  using Size = std::pair<int, int>;
  std::map<std::pair<Size, Size>, QRectF> boxes_;  ///< by the sizes of item and icon
};

}  // namespace wevora::pcmanfmqt
