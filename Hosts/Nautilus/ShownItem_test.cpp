#include "Hosts/Nautilus/ShownItem.h"

#include <array>
#include <nautilus-extension.h>
#include <utility>

#include <gtest/gtest.h>

namespace wevora::nautilus {
namespace {

/// A fake file of the host, which counts the calls of get_uri.
struct File {
  GObject parent;
  const char* uri;
  int calls;
};

void implementFileInfo(gpointer table, gpointer) {
  static_cast<NautilusFileInfoInterface*>(table)->get_uri = +[](NautilusFileInfo* info) {
    auto* file = reinterpret_cast<File*>(info);
    ++file->calls;
    return g_strdup(file->uri);
  };
}

GType fileType(const char* name) {
  const GType type = g_type_register_static_simple(G_TYPE_OBJECT, name, sizeof(GObjectClass),
                                                   nullptr, sizeof(File), nullptr, {});
  const GInterfaceInfo implementation{&implementFileInfo, nullptr, nullptr};
  g_type_add_interface_static(type, NAUTILUS_TYPE_FILE_INFO, &implementation);
  return type;
}

/// Files with a "changed" signal, as in all known releases.
GType signallingFile() {
  static const GType type = [] {
    const GType made = fileType("WevoraTestSignallingFile");
    g_signal_new("changed", made, G_SIGNAL_RUN_LAST, 0, nullptr, nullptr, nullptr, G_TYPE_NONE, 0);
    return made;
  }();
  return type;
}

/// Files without a "changed" signal.
GType plainFile() {
  static const GType type = fileType("WevoraTestPlainFile");
  return type;
}

/// An object with the properties "item" and "file", used as the widget and as its item.
struct Holder {
  GObject parent;
  GObject* held;
};

void hold(GObject* holder, gpointer held) {
  const GObjectPtr<GObject> before(
      std::exchange(reinterpret_cast<Holder*>(holder)->held, static_cast<GObject*>(held)));
}

GType holderType() {
  const auto classInit = +[](gpointer table, gpointer) {
    auto* objects = static_cast<GObjectClass*>(table);
    objects->set_property = +[](GObject* self, guint, const GValue* value, GParamSpec*) {
      hold(self, g_value_dup_object(value));
    };
    objects->get_property = +[](GObject* self, guint, GValue* value, GParamSpec*) {
      g_value_set_object(value, reinterpret_cast<Holder*>(self)->held);
    };
    objects->dispose = +[](GObject* self) { hold(self, nullptr); };
    guint id = 0;
    for (const char* name : {"item", "file"})
      g_object_class_install_property(
          objects, ++id,
          g_param_spec_object(name, nullptr, nullptr, G_TYPE_OBJECT, G_PARAM_READWRITE));
  };
  static const GType type =
      g_type_register_static_simple(G_TYPE_OBJECT, "WevoraTestHolder", sizeof(GObjectClass),
                                    classInit, sizeof(Holder), nullptr, {});
  return type;
}

class ShownItemTest : public testing::Test {
 protected:
  static GObjectPtr<File> file(GType type, const char* uri) {
    GObjectPtr<File> made(static_cast<File*>(g_object_new(type, nullptr)));
    made->uri = uri;
    return made;
  }
  void show(gpointer file) {
    const GObjectPtr<GObject> shown(
        static_cast<GObject*>(g_object_new(holderType(), "file", file, nullptr)));
    g_object_set(widget.get(), "item", shown.get(), nullptr);
  }
  static void change(File* file, const char* uri) {
    file->uri = uri;
    g_signal_emit_by_name(file, "changed");
  }

  GObjectPtr<GObject> widget{static_cast<GObject*>(g_object_new(holderType(), nullptr))};
  int moves = 0;
  ShownItem item{widget.get(), [this] { ++moves; }};
};

TEST_F(ShownItemTest, AWidgetWithoutAnItemHasNoURI) {
  EXPECT_EQ(item.uri(), std::nullopt);
}

TEST_F(ShownItemTest, AFilesURIIsCached) {
  const auto one = file(signallingFile(), "file:///one");
  show(one.get());
  for (int i = 0; i < 3; ++i) EXPECT_EQ(item.uri(), "file:///one");
  EXPECT_EQ(one->calls, 1);
}

TEST_F(ShownItemTest, AFileThatMovesIsReported) {
  const auto one = file(signallingFile(), "file:///one");
  show(one.get());
  ASSERT_EQ(item.uri(), "file:///one");
  change(one.get(), "file:///two");
  EXPECT_EQ(moves, 1);
  EXPECT_EQ(item.uri(), "file:///two");
}

TEST_F(ShownItemTest, AFileThatChangesWithoutMovingIsNotReported) {
  const auto one = file(signallingFile(), "file:///one");
  show(one.get());
  ASSERT_EQ(item.uri(), "file:///one");
  change(one.get(), "file:///one");
  EXPECT_EQ(moves, 0);
}

TEST_F(ShownItemTest, ANewItemIsReadAndTheOldOneIsDisconnected) {
  const auto one = file(signallingFile(), "file:///one");
  const auto two = file(signallingFile(), "file:///two");
  show(one.get());
  ASSERT_EQ(item.uri(), "file:///one");
  item.forget();
  show(two.get());
  EXPECT_EQ(item.uri(), "file:///two");
  change(one.get(), "file:///three");
  EXPECT_EQ(moves, 0);
  EXPECT_EQ(item.uri(), "file:///two");
}

TEST_F(ShownItemTest, TheURIOfAFileWithoutAChangedSignalIsNotCached) {
  const auto one = file(plainFile(), "file:///one");
  show(one.get());
  ASSERT_EQ(item.uri(), "file:///one");
  one->uri = "file:///two";
  EXPECT_EQ(item.uri(), "file:///two");
}

TEST_F(ShownItemTest, AnObjectThatIsNotAFileHasNoURI) {
  const GObjectPtr<GObject> other(static_cast<GObject*>(g_object_new(holderType(), nullptr)));
  show(other.get());
  EXPECT_EQ(item.uri(), std::nullopt);
}

TEST_F(ShownItemTest, ADestroyedFileIsHandled) {
  auto one = file(signallingFile(), "file:///one");
  show(one.get());
  ASSERT_EQ(item.uri(), "file:///one");
  g_object_set(widget.get(), "item", nullptr, nullptr);
  one.reset();
  item.forget();
  EXPECT_EQ(item.uri(), std::nullopt);
}

}  // namespace
}  // namespace wevora::nautilus
