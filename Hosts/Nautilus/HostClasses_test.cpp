#include "Hosts/Nautilus/HostClasses.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace wevora::nautilus {
namespace {

bool isKnown(Role role, int release) {
  return std::ranges::any_of(kHostClasses, [&](const HostClass& known) {
    return known.role == role && known.since <= release && release <= known.until;
  });
}

TEST(HostClassesTest, EveryReleaseHasAClassForEveryRole) {
  for (int release = kFirstRelease; release <= kLatestRelease; ++release)
    for (const Role role : {Role::GridCell, Role::NameCell, Role::Icon, Role::Sidebar,
                            Role::SidebarRow, Role::Window})
      EXPECT_TRUE(isKnown(role, release)) << release;
}

TEST(HostClassesTest, ANameHasOneRole) {
  for (const auto& known : kHostClasses)
    EXPECT_EQ(std::ranges::count(kHostClasses, known.name, &HostClass::name), 1) << known.name;
}

TEST(HostClassesTest, TheNamesOfEarlierAndLaterReleasesHaveTheSameRoles) {
  EXPECT_EQ(roleOf("NautilusGtkPlacesSidebar"), Role::Sidebar);
  EXPECT_EQ(roleOf("NautilusSidebar"), Role::Sidebar);
  EXPECT_EQ(roleOf("NautilusGtkSidebarRow"), Role::SidebarRow);
  EXPECT_EQ(roleOf("NautilusSidebarRow"), Role::SidebarRow);
  EXPECT_EQ(roleOf("GtkPicture"), Role::Icon);
  EXPECT_EQ(roleOf("NautilusImage"), Role::Icon);
}

TEST(HostClassesTest, AnUnknownClassHasNoRole) {
  for (const char* name : {"", "Nautilus", "NautilusGridCel", "NautilusGridCells", "GtkLabel"})
    EXPECT_EQ(roleOf(name), std::nullopt) << name;
}

}  // namespace
}  // namespace wevora::nautilus
