#include "Hosts/Nautilus/HostWidgets.h"

#include <array>
#include <cstring>

#include "Hosts/Nautilus/HostClasses.h"
#include "Platform/Base/Guard.h"

namespace wevora::nautilus {
namespace {

using platform::catchAll;
using Snapshot = void (*)(GtkWidget*, GtkSnapshot*);

WidgetObserver* currentObserver = nullptr;
std::array<Snapshot, 2> hostSnapshots{};

Snapshot& hostSnapshot(CellKind kind) {
  return hostSnapshots[static_cast<std::size_t>(kind)];
}

template <CellKind kind>
void snapshotCell(GtkWidget* cell, GtkSnapshot* snapshot) noexcept {
  catchAll([&] { currentObserver->drawCell(kind, cell, snapshot); });
}

template <CellKind kind>
void overrideSnapshot(GtkWidget* cell) {
  if (hostSnapshot(kind) != nullptr) return;
  GtkWidgetClass* widgetClass = GTK_WIDGET_GET_CLASS(cell);
  hostSnapshot(kind) = widgetClass->snapshot;
  widgetClass->snapshot = &snapshotCell<kind>;
}

void realized(Role role, GtkWidget* widget) {
  switch (role) {
    case Role::GridCell:
      return overrideSnapshot<CellKind::Grid>(widget);
    case Role::NameCell:
      return overrideSnapshot<CellKind::List>(widget);
    case Role::Sidebar:
      return currentObserver->sidebarRealized(widget);
    case Role::SidebarRow:
      return currentObserver->sidebarRowRealized(widget);
    case Role::Icon:
    case Role::Window:
      return;
  }
}

gboolean widgetRealized(GSignalInvocationHint*, guint, const GValue* parameters,
                        gpointer) noexcept {
  auto* object = static_cast<GObject*>(g_value_get_object(parameters));
  if (const auto role = roleOf(G_OBJECT_TYPE_NAME(object)))
    catchAll([&] { realized(*role, GTK_WIDGET(object)); });
  return TRUE;
}

bool isIcon(GtkWidget* widget) {
  if (roleOf(G_OBJECT_TYPE_NAME(widget)) == Role::Icon) return true;
  const char* id = gtk_buildable_get_buildable_id(GTK_BUILDABLE(widget));
  return id != nullptr && std::strcmp(id, "icon") == 0;
}

}  // namespace

void observeWidgets(WidgetObserver& observer) {
  currentObserver = &observer;
  g_type_class_unref(g_type_class_ref(GTK_TYPE_WIDGET));
  g_signal_add_emission_hook(g_signal_lookup("realize", GTK_TYPE_WIDGET), 0, &widgetRealized,
                             nullptr, nullptr);
}

void drawHostCell(CellKind kind, GtkWidget* cell, GtkSnapshot* snapshot) {
  if (hostSnapshot(kind) != nullptr) hostSnapshot(kind)(cell, snapshot);
}

GtkWidget* iconOf(GtkWidget* cell) {
  for (GtkWidget* child = gtk_widget_get_first_child(cell); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    if (isIcon(child)) return child;
    if (GtkWidget* found = iconOf(child)) return found;
  }
  return nullptr;
}

}  // namespace wevora::nautilus
