#pragma once

#include <array>
#include <limits>
#include <optional>
#include <string_view>

namespace wevora::nautilus {

/// The role of one of the host's widget classes.
enum class Role { GridCell, NameCell, Icon, Sidebar, SidebarRow, Window };

/// A widget class of the host, and the first and last release that has it.
struct HostClass {
  std::string_view name;
  Role role;
  int since;
  int until;
};

inline constexpr int kFirstRelease = 43;
inline constexpr int kLatestRelease = 48;  ///< the latest release tested; later ones may work too
inline constexpr int kStill = std::numeric_limits<int>::max();

/// The class names of all releases. The running release is not checked, because the names do not
/// conflict. In all of these releases a cell has the property "item", the item has "file", and a
/// sidebar row has "label" and "start-icon".
inline constexpr std::array kHostClasses{
    HostClass{"NautilusGridCell", Role::GridCell, 43, kStill},
    HostClass{"NautilusNameCell", Role::NameCell, 43, kStill},
    // The icon widget has the id "icon" in the cells' template.
    HostClass{"GtkPicture", Role::Icon, 43, 48},
    HostClass{"NautilusImage", Role::Icon, 48, kStill},
    HostClass{"NautilusGtkPlacesSidebar", Role::Sidebar, 43, 47},
    HostClass{"NautilusSidebar", Role::Sidebar, 48, kStill},
    HostClass{"NautilusGtkSidebarRow", Role::SidebarRow, 43, 47},
    HostClass{"NautilusSidebarRow", Role::SidebarRow, 48, kStill},
    HostClass{"NautilusWindow", Role::Window, 43, kStill},
    // The file chooser that Nautilus provides to other programs as a portal.
    HostClass{"NautilusFileChooser", Role::Window, 47, kStill},
};

/// nullopt for a class without a role.
constexpr std::optional<Role> roleOf(std::string_view className) {
  for (const auto& known : kHostClasses)
    if (known.name == className) return known.role;
  return std::nullopt;
}

}  // namespace wevora::nautilus
