// The engine on real volumes that are mounted and unmounted.

#include <chrono>
#include <fstream>
#include <memory>
#include <sys/mount.h>
#include <unistd.h>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>

#include "Apps/agent_sim/DatabaseWriter.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Base/GObjectPtr.h"
#include "Platform/Volumes/GioUnmountApprovals.h"
#include "Platform/Volumes/Volumes.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Engine/EngineUnderTest.h"
#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/Mounts/MountedVolume.h"

namespace wevora {
namespace {

using std::chrono_literals::operator""ms;
using testing_host::MountedVolume;

constexpr const char* kAccount = "volume-test";

/// The engine on the system's mounted volumes, in virtual time.
class Engine {
 public:
  /// Without approvals, unmount requests come from GIO.
  explicit Engine(platform::UnmountApprovals* approvals = nullptr)
      : engine_({.volumes = &volumes_,
                 .approvals = approvals == nullptr ? &gio_ : approvals,
                 .accountId = kAccount},
                clock_, dispatch) {}

  /// Draws, runs all queued work, draws again.
  std::string word(const std::string& path) {
    engine_.provider->colorFor(ItemURL(path));
    dispatch.runAll();
    return engine_.provider->colorFor(ItemURL(path)).value_or("none");
  }
  WVDBPool& pool() { return *engine_.pool; }

 private:
  platform::VirtualClock clock_;

 public:
  platform::ManualDispatch dispatch{clock_};

 private:
  platform::SystemVolumes volumes_;
  platform::GioUnmountApprovals gio_{dispatch, volumes_};
  testing_host::BasicEngineUnderTest<testing_host::GivenTime> engine_;
};

/// Writes a file that is backed up, one that is not, and their database.
void fillVolume(const MountedVolume& volume) {
  std::ofstream(volume.path("done")) << "x";
  std::ofstream(volume.path("waiting")) << "x";
  const std::string path = volume.path(std::string("Wevora-Account-") + kAccount + ".db");
  agent_sim::DatabaseWriter writer(path, agent_sim::DatabaseWriter::Mode::createIfMissing);
  writer.runScript(
      "CREATE TABLE file(file_id TEXT, parent_id TEXT, is_folder INT, name_short TEXT,"
      " name_long TEXT, synchronized TEXT);"
      "CREATE TABLE fscr(fscr_id TEXT, root_folder TEXT, path_filter TEXT, content_type TEXT,"
      " \"order\" INT, exclude INT, fc TEXT);"
      "INSERT INTO file VALUES('00000000-0000-0000-0000-000000000000', NULL, 1, '/', '/', NULL);"
      "INSERT INTO file VALUES('1', '00000000-0000-0000-0000-000000000000', 0, 'done', 'done',"
      " '2026-01-01 00:00:00.0000000');"
      "INSERT INTO file VALUES('2', '00000000-0000-0000-0000-000000000000', 0, 'waiting',"
      " 'waiting', NULL);"
      "INSERT INTO fscr VALUES('1', '', '', '', 0, 0, '')");
}

platform::GObjectPtr<GMount> mountListedAt(GVolumeMonitor* monitor, const std::string& path) {
  GList* mounts = g_volume_monitor_get_mounts(monitor);
  platform::GObjectPtr<GMount> found;
  for (const GList* item = mounts; item != nullptr; item = item->next) {
    const platform::GObjectPtr<GMount> mount(static_cast<GMount*>(item->data));
    const platform::GObjectPtr<GFile> root(g_mount_get_root(mount.get()));
    const std::unique_ptr<char, decltype(&g_free)> at(g_file_get_path(root.get()), &g_free);
    if (at && path == at.get()) found.reset(G_MOUNT(g_object_ref(mount.get())));
  }
  g_list_free(mounts);
  return found;
}

/// Unmounts as a file manager does. Returns whether the volume was unmounted.
bool unmountLikeAFileManager(GMount* mount, Engine& engine) {
  struct Reply {
    bool received = false;
    bool unmounted = false;
  } reply;
  g_mount_unmount_with_operation(
      mount, G_MOUNT_UNMOUNT_NONE, nullptr, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer out) {
        GError* error = nullptr;
        auto& to = *static_cast<Reply*>(out);
        to.unmounted = g_mount_unmount_with_operation_finish(G_MOUNT(source), result, &error);
        to.received = true;
        g_clear_error(&error);
      },
      &reply);
  while (!reply.received) {
    engine.dispatch.runAll();
    g_main_context_iteration(nullptr, TRUE);
  }
  return reply.unmounted;
}

class VolumeTest : public testing::Test {
 protected:
  void expectCorrectWords(Engine& engine, const MountedVolume& volume) {
    EXPECT_EQ(engine.word(volume.path("done")), "green");
    EXPECT_EQ(engine.word(volume.path("waiting")), "blue");
    EXPECT_EQ(engine.word(volume.path()), "red");
  }
  void expectNoReopeningForFiveSeconds(Engine& engine, const MountedVolume& volume) {
    EXPECT_EQ(engine.pool().accessorWithPath(volume.path("done")), nullptr);
    engine.dispatch.advance(4999ms);
    EXPECT_EQ(engine.pool().accessorWithPath(volume.path("done")), nullptr);
    engine.dispatch.advance(1ms);
    EXPECT_NE(engine.pool().accessorWithPath(volume.path("done")), nullptr);
  }
};

TEST_F(VolumeTest, AnOpenVolumeIsReleasedUnmountedAndFoundAgain) {
  MountedVolume volume(MountedVolume::Kind::tmpfs, "/media/wevora-stick");
  ASSERT_TRUE(volume.mount());
  fillVolume(volume);
  platform::ManualUnmountApprovals approvals;
  Engine engine(&approvals);
  expectCorrectWords(engine, volume);
  EXPECT_FALSE(volume.unmount()) << "the open database keeps the volume busy";

  EXPECT_EQ(approvals.ask(volume.path()), std::nullopt);
  engine.dispatch.runAll();
  EXPECT_EQ(engine.pool().accessorWithPath(volume.path("done")), nullptr);
  EXPECT_TRUE(volume.unmount());

  ASSERT_TRUE(volume.mount());
  fillVolume(volume);
  expectNoReopeningForFiveSeconds(engine, volume);
  expectCorrectWords(engine, volume);
}

TEST_F(VolumeTest, ADroppedAccessorDoesNotKeepAVolumeBusy) {
  MountedVolume volume(MountedVolume::Kind::tmpfs, "/media/wevora-stick");
  ASSERT_TRUE(volume.mount());
  fillVolume(volume);
  platform::ManualUnmountApprovals approvals;
  Engine engine(&approvals);
  expectCorrectWords(engine, volume);
  engine.pool().setAccountId("another account");
  engine.dispatch.runAll();
  EXPECT_EQ(approvals.ask(volume.path()), std::nullopt);
  engine.dispatch.runAll();
  EXPECT_TRUE(volume.unmount());
}

TEST_F(VolumeTest, AnEjectedDiskIsReleasedUnmountedAndFoundAgain) {
  // Only root may mount a disk image. For other users the volume is a tmpfs, which GVolumeMonitor
  // does not list, so umount(2) is called instead.
  const bool root = testing_host::mayMountDisks();
  MountedVolume volume(root ? MountedVolume::Kind::ext4 : MountedVolume::Kind::tmpfs,
                       "/media/wevora-disk");
  ASSERT_TRUE(volume.mount());
  fillVolume(volume);
  const platform::GObjectPtr<GVolumeMonitor> monitor(g_volume_monitor_get());
  Engine engine;
  expectCorrectWords(engine, volume);
  if (root) {
    const auto mount = mountListedAt(monitor.get(), volume.path());
    ASSERT_TRUE(mount);
    EXPECT_TRUE(unmountLikeAFileManager(mount.get(), engine));
  } else {
    engine.pool().diskShouldBeUnmounted(
        {{{platform::kDiskDescriptionVolumePathKey, volume.path()}}});
    engine.dispatch.runAll();
    EXPECT_TRUE(volume.unmount());
  }

  ASSERT_TRUE(volume.mount());
  if (!root) fillVolume(volume);
  expectNoReopeningForFiveSeconds(engine, volume);
  expectCorrectWords(engine, volume);
}

TEST_F(VolumeTest, ARefusedUnmountIsBusyInTheKernelForFiveSeconds) {
  MountedVolume volume(MountedVolume::Kind::tmpfs, "/media/wevora-stick");
  ASSERT_TRUE(volume.mount());
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch(clock);
  platform::holdVolumeBusy(dispatch, volume.path());
  EXPECT_FALSE(volume.unmount());
  dispatch.advance(std::chrono::seconds(5));
  EXPECT_TRUE(volume.unmount());
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
