#pragma once

#include <array>
#include <limits>
#include <optional>
#include <string_view>

namespace wevora::nautilus {

/// What one of the host's widgets is to this system.
enum class Role { GridCell, NameCell, Icon, Sidebar, SidebarRow, Window };

/// A class of the host's, and the releases that have it.
/// Threads: a value. Owns: nothing. Errors: none.
struct HostClass {
  std::string_view name;
  Role role;
  int since;
  int until;
};

inline constexpr int kFirstRelease = 43;
inline constexpr int kLatestRelease = 48;  ///< later ones may well know the same names
inline constexpr int kStill = std::numeric_limits<int>::max();

/// All names at once are looked for: a name that a release does not have is never seen there.
/// In every one of these releases a cell has its item in "item", that its file in "file", and a row
/// of the sidebar "label" and "start-icon".
inline constexpr std::array kHostClasses{
    HostClass{"NautilusGridCell", Role::GridCell, 43, kStill},
    HostClass{"NautilusNameCell", Role::NameCell, 43, kStill},
    // The cells' template calls either "icon".
    HostClass{"GtkPicture", Role::Icon, 43, 48},
    HostClass{"NautilusImage", Role::Icon, 48, kStill},
    HostClass{"NautilusGtkPlacesSidebar", Role::Sidebar, 43, 47},
    HostClass{"NautilusSidebar", Role::Sidebar, 48, kStill},
    HostClass{"NautilusGtkSidebarRow", Role::SidebarRow, 43, 47},
    HostClass{"NautilusSidebarRow", Role::SidebarRow, 48, kStill},
    HostClass{"NautilusWindow", Role::Window, 43, kStill},
    // Other programs' file choosers, which the host shows for them.
    HostClass{"NautilusFileChooser", Role::Window, 47, kStill},
};

/// None for a class that is nothing to this system.
constexpr std::optional<Role> roleOf(std::string_view className) {
  for (const auto& known : kHostClasses)
    if (known.name == className) return known.role;
  return std::nullopt;
}

}  // namespace wevora::nautilus
