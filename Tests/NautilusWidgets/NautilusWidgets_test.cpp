// Finds the widgets of all supported Nautilus releases, using fake widgets with the releases' class
// names and properties.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Hosts/Common/View.h"
#include "Hosts/Nautilus/HostWidgets.h"
#include "Hosts/Nautilus/ObjectProperties.h"
#include "Hosts/Nautilus/Sidebars.h"
#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Doubles/SidebarDelegate.h"

namespace wevora::nautilus {
namespace {

/// Starts a virtual display, which runs until the process ends.
void useVirtualDisplay() {
  static testing_host::ChildProcess display(
      {"Xvfb", "-displayfd", "1", "-screen", "0", "400x300x24", "-nolisten", "tcp"});
  ASSERT_TRUE(display.waitForOutput("\n"));
  std::string name = ":" + display.output();
  name.erase(name.find('\n'));
  ::setenv("DISPLAY", name.c_str(), 1);
  ::setenv("GDK_BACKEND", "x11", 1);
  ::setenv("GSK_RENDERER", "cairo", 1);
  ::setenv("GTK_A11Y", "none", 1);
  ::setenv("GSETTINGS_BACKEND", "memory", 1);
  ASSERT_TRUE(gtk_init_check());
}

/// Registers a fake class of the host.
GType classNamed(const char* name, GType parent, GClassInitFunc init = nullptr,
                 guint16 instanceSize = 0) {
  if (const GType known = g_type_from_name(name)) return known;
  GTypeQuery query;
  g_type_query(parent, &query);
  return g_type_register_static_simple(
      parent, name, query.class_size, init,
      instanceSize != 0 ? instanceSize : static_cast<guint16>(query.instance_size), nullptr,
      GTypeFlags{});
}

/// How a row of the sidebar reacts when its icon is set.
enum class Reaction { None, RestoresItsIconAtOnce, RestoresItsIconWhenIdle };
Reaction reaction = Reaction::None;
int iconsSet = 0;  ///< by anybody but the row itself

/// A row of the sidebar.
struct FakeRow {
  GtkListBoxRow parent;
  GIcon* icon;
  char* label;
};

/// The row takes an icon of its own and notifies of it.
void restoreIcon(FakeRow* row) {
  g_clear_object(&row->icon);
  row->icon = g_themed_icon_new("drive-harddisk");
  g_object_notify(G_OBJECT(row), "start-icon");
}

void react(FakeRow* row) {
  ++iconsSet;
  if (reaction == Reaction::RestoresItsIconAtOnce) restoreIcon(row);
  if (reaction == Reaction::RestoresItsIconWhenIdle)
    g_idle_add_full(
        G_PRIORITY_DEFAULT_IDLE,
        +[](gpointer itself) -> gboolean {
          restoreIcon(static_cast<FakeRow*>(itself));
          return G_SOURCE_REMOVE;
        },
        g_object_ref(row), &g_object_unref);
}

void initRowClass(gpointer itsClass, gpointer) {
  auto* objects = G_OBJECT_CLASS(itsClass);
  objects->set_property = [](GObject* object, guint id, const GValue* value, GParamSpec*) {
    auto* row = reinterpret_cast<FakeRow*>(object);
    if (id == 1) {
      g_clear_object(&row->icon);
      row->icon = static_cast<GIcon*>(g_value_dup_object(value));
      react(row);
    } else {
      g_free(row->label);
      row->label = g_value_dup_string(value);
    }
  };
  objects->get_property = [](GObject* object, guint id, GValue* value, GParamSpec*) {
    auto* row = reinterpret_cast<FakeRow*>(object);
    if (id == 1)
      g_value_set_object(value, row->icon);
    else
      g_value_set_string(value, row->label);
  };
  g_object_class_install_property(
      objects, 1, g_param_spec_object("start-icon", "", "", G_TYPE_ICON, G_PARAM_READWRITE));
  g_object_class_install_property(objects, 2,
                                  g_param_spec_string("label", "", "", nullptr, G_PARAM_READWRITE));
}

int hostDrawings = 0;

void initCellClass(gpointer itsClass, gpointer) {
  GTK_WIDGET_CLASS(itsClass)->snapshot = [](GtkWidget*, GtkSnapshot*) { ++hostDrawings; };
}

GtkWidget* make(GType type) {
  return GTK_WIDGET(g_object_new(type, nullptr));
}

GtkWidget* makeRow(const char* className, const char* label) {
  GtkWidget* row =
      make(classNamed(className, GTK_TYPE_LIST_BOX_ROW, &initRowClass, sizeof(FakeRow)));
  g_object_set(row, "label", label, nullptr);
  return row;
}

/// Records the notifications that it receives.
class RecordingObserver : public WidgetObserver {
 public:
  void drawCell(CellKind kind, GtkWidget* cell, GtkSnapshot* snapshot) override {
    drawn.push_back(kind);
    drawHostCell(kind, cell, snapshot);
  }
  void sidebarRealized(GtkWidget* sidebar) override {
    sidebars.emplace_back(G_OBJECT_TYPE_NAME(sidebar));
  }
  void sidebarRowRealized(GtkWidget* row) override { rows.emplace_back(G_OBJECT_TYPE_NAME(row)); }

  void clear() {
    drawn.clear();
    sidebars.clear();
    rows.clear();
  }

  std::vector<CellKind> drawn;
  std::vector<std::string> sidebars;
  std::vector<std::string> rows;
};

/// A window with one widget, which is realized.
class Shown {
 public:
  explicit Shown(GtkWidget* content) : window_(gtk_window_new()) {
    gtk_window_set_child(GTK_WINDOW(window_), content);
    gtk_widget_realize(window_);
    gtk_widget_set_visible(window_, TRUE);
    for (GtkWidget* child = content; child != nullptr; child = gtk_widget_get_first_child(child))
      gtk_widget_realize(child);
  }
  ~Shown() { gtk_window_destroy(GTK_WINDOW(window_)); }
  Shown(const Shown&) = delete;
  Shown& operator=(const Shown&) = delete;

 private:
  GtkWidget* const window_;
};

/// One observer for the whole process, because `observeWidgets` cannot be undone.
RecordingObserver& observer() {
  static RecordingObserver recording;
  static const bool observed = [] {
    observeWidgets(recording);
    return true;
  }();
  static_cast<void>(observed);
  recording.clear();
  return recording;
}

class NautilusWidgetsTest : public testing::Test {
 protected:
  void SetUp() override { useVirtualDisplay(); }
};

TEST_F(NautilusWidgetsTest, TheSidebarAndItsRowsAreFoundInEveryRelease) {
  auto& recorded = observer();
  for (const auto& [sidebar, row] : {std::pair("NautilusGtkPlacesSidebar", "NautilusGtkSidebarRow"),
                                     std::pair("NautilusSidebar", "NautilusSidebarRow")}) {
    recorded.clear();
    GtkWidget* content = make(classNamed(sidebar, GTK_TYPE_BOX));
    GtkWidget* list = gtk_list_box_new();
    gtk_box_append(GTK_BOX(content), list);
    gtk_list_box_append(GTK_LIST_BOX(list), makeRow(row, "Home"));
    const Shown shown(content);
    EXPECT_EQ(recorded.sidebars, (std::vector<std::string>{sidebar}));
    EXPECT_EQ(recorded.rows, (std::vector<std::string>{row}));
  }
}

TEST_F(NautilusWidgetsTest, OtherWidgetsAreIgnored) {
  auto& recorded = observer();
  GtkWidget* content = make(classNamed("NautilusSomethingNew", GTK_TYPE_BOX));
  gtk_box_append(GTK_BOX(content), gtk_label_new("x"));
  const Shown shown(content);
  EXPECT_TRUE(recorded.sidebars.empty());
  EXPECT_TRUE(recorded.rows.empty());
  EXPECT_TRUE(recorded.drawn.empty());
}

TEST_F(NautilusWidgetsTest, ACellsSnapshotIsOverriddenOnceAndCallsTheHostsOwn) {
  auto& recorded = observer();
  for (const auto& [name, kind] : {std::pair("NautilusGridCell", CellKind::Grid),
                                   std::pair("NautilusNameCell", CellKind::List)}) {
    recorded.clear();
    const GType cells = classNamed(name, GTK_TYPE_BOX, &initCellClass);
    GtkWidget* cell = make(cells);
    GtkWidget* other = make(cells);
    gtk_box_append(GTK_BOX(cell), other);
    const Shown shown(cell);
    hostDrawings = 0;
    GtkSnapshot* snapshot = gtk_snapshot_new();
    GTK_WIDGET_GET_CLASS(cell)->snapshot(cell, snapshot);
    g_object_unref(snapshot);
    EXPECT_EQ(recorded.drawn, (std::vector<CellKind>{kind})) << name;
    EXPECT_EQ(hostDrawings, 1) << name;
  }
}

TEST_F(NautilusWidgetsTest, TheIconOfACellIsFoundInEveryRelease) {
  const GType image = classNamed("NautilusImage", GTK_TYPE_BOX);
  for (const GType icons : {GTK_TYPE_PICTURE, image}) {
    GtkWidget* cell = g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0));
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_box_append(GTK_BOX(cell), gtk_label_new("first"));
    gtk_box_append(GTK_BOX(cell), box);
    GtkWidget* icon = make(icons);
    gtk_box_append(GTK_BOX(box), gtk_image_new());  // an emblem
    gtk_box_append(GTK_BOX(box), icon);
    EXPECT_EQ(iconOf(cell), icon) << g_type_name(icons);
    g_object_unref(cell);
  }
}

TEST_F(NautilusWidgetsTest, AnIconOfAnUnknownClassIsFoundByItsNameInTheTemplate) {
  GtkBuilder* builder = gtk_builder_new_from_string(
      "<interface><object class='GtkBox' id='cell'><child><object class='GtkBox'>"
      "<child><object class='GtkLabel' id='label'/></child>"
      "<child><object class='GtkLabel' id='icon'/></child>"
      "</object></child></object></interface>",
      -1);
  auto* cell = GTK_WIDGET(gtk_builder_get_object(builder, "cell"));
  EXPECT_EQ(iconOf(cell), GTK_WIDGET(gtk_builder_get_object(builder, "icon")));
  g_object_unref(builder);
}

TEST_F(NautilusWidgetsTest, NoIconIsFoundInACellWithoutOne) {
  GtkWidget* cell = g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0));
  gtk_box_append(GTK_BOX(cell), gtk_label_new("x"));
  EXPECT_EQ(iconOf(cell), nullptr);
  g_object_unref(cell);
}

/// A sidebar with one row for the drive, whose image a delegate gives as the bundle's does.
class SidebarRowsTest : public NautilusWidgetsTest {
 protected:
  SidebarRowsTest() {
    reaction = Reaction::None;
    platform::setDriveImageByDelegate(runtime_);
  }
  ~SidebarRowsTest() override {
    if (content_ != nullptr) g_object_unref(content_);
  }

  void showSidebar(const char* sidebarClass, const char* rowClass) {
    content_ = g_object_ref_sink(make(classNamed(sidebarClass, GTK_TYPE_BOX)));
    GtkWidget* list = gtk_list_box_new();
    drive = makeRow(rowClass, "(w) Drive");
    home = makeRow(rowClass, "Home");
    gtk_box_append(GTK_BOX(content_), list);
    gtk_list_box_append(GTK_LIST_BOX(list), drive);
    gtk_list_box_append(GTK_LIST_BOX(list), home);
    iconsSet = 0;
    sidebars.sidebarRealized(content_);
    sidebars.rowRealized(drive);
    sidebars.rowRealized(home);
  }
  static void runUntilIdle() {
    for (int turn = 0; turn < 10'000; ++turn)
      if (g_main_context_iteration(nullptr, FALSE) == FALSE) return;
    ADD_FAILURE() << "the main loop never gets idle";
  }
  bool hasOurImage(GtkWidget* row) const {
    return GDK_IS_TEXTURE(objectProperty(row, "start-icon").get());
  }

 private:
  platform::Runtime runtime_;
  const std::shared_ptr<platform::Class> views_ = hosts::View::registerIn(runtime_);
  GtkWidget* content_ = nullptr;

 protected:
  Sidebars sidebars{runtime_, *views_};
  GtkWidget* drive = nullptr;
  GtkWidget* home = nullptr;
};

TEST_F(SidebarRowsTest, ARowOfTheFirstReleaseTakesTheImageThatItsDelegateGivesIt) {
  showSidebar("NautilusGtkPlacesSidebar", "NautilusGtkSidebarRow");
  EXPECT_TRUE(hasOurImage(drive));
  EXPECT_EQ(objectProperty(home, "start-icon"), nullptr);
}

TEST_F(SidebarRowsTest, ARowOfLaterReleasesTakesTheImageThatItsDelegateGivesIt) {
  showSidebar("NautilusSidebar", "NautilusSidebarRow");
  EXPECT_TRUE(hasOurImage(drive));
  EXPECT_EQ(objectProperty(home, "start-icon"), nullptr);
}

TEST_F(SidebarRowsTest, OurOwnImageIsNotGivenAgainWhenTheRowNotifiesOfIt) {
  showSidebar("NautilusSidebar", "NautilusSidebarRow");
  const int before = iconsSet;
  for (int i = 0; i < 100; ++i) g_object_notify(G_OBJECT(drive), "start-icon");
  runUntilIdle();
  EXPECT_EQ(iconsSet, before);
  EXPECT_TRUE(hasOurImage(drive));
}

TEST_F(SidebarRowsTest, EachIconThatTheHostSetsIsReplacedOnce) {
  showSidebar("NautilusSidebar", "NautilusSidebarRow");
  const int before = iconsSet;
  const platform::GObjectPtr<GIcon> theirs(g_themed_icon_new("folder"));
  g_object_set(drive, "start-icon", theirs.get(), nullptr);
  runUntilIdle();
  EXPECT_EQ(iconsSet, before + 2);  // theirs and ours
  EXPECT_TRUE(hasOurImage(drive));
}

TEST_F(SidebarRowsTest, ARowThatRestoresItsIconAtOnceGetsOurImageOnceForEachChange) {
  reaction = Reaction::RestoresItsIconAtOnce;
  showSidebar("NautilusSidebar", "NautilusSidebarRow");
  runUntilIdle();
  EXPECT_LE(iconsSet, 3);  // for the sidebar, for the row, and one reaction
  EXPECT_FALSE(hasOurImage(drive));
}

TEST_F(SidebarRowsTest, ARowThatRestoresItsIconWhenIdleKeepsItAfterTwentyRounds) {
  reaction = Reaction::RestoresItsIconWhenIdle;
  showSidebar("NautilusSidebar", "NautilusSidebarRow");
  runUntilIdle();
  EXPECT_GE(iconsSet, 3);
  EXPECT_LE(iconsSet, 2 + static_cast<int>(hosts::FeedbackGuard::kMaxRoundsPerSecond));
  EXPECT_FALSE(hasOurImage(drive));
}

TEST_F(NautilusWidgetsTest, ARowWithoutTheExpectedPropertiesIsLeftUnchanged) {
  platform::Runtime runtime;
  const auto views = hosts::View::registerIn(runtime);
  Sidebars sidebars(runtime, *views);
  GtkWidget* content = g_object_ref_sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0));
  GtkWidget* list = gtk_list_box_new();
  gtk_box_append(GTK_BOX(content), list);
  GtkWidget* row = make(GTK_TYPE_LIST_BOX_ROW);
  gtk_list_box_append(GTK_LIST_BOX(list), row);
  sidebars.sidebarRealized(content);
  sidebars.rowRealized(row);
  EXPECT_EQ(objectProperty(row, "start-icon"), nullptr);
  EXPECT_EQ(textProperty(row, "label"), std::nullopt);
  g_object_unref(content);
}

}  // namespace
}  // namespace wevora::nautilus
