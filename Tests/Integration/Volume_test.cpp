// Real volumes, mounted and unmounted.

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
#include "Platform/Database/SqliteDatabases.h"
#include "Platform/Volumes/GioUnmountApprovals.h"
#include "Platform/Volumes/Volumes.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/Mounts/MountedVolume.h"

namespace wevora {
namespace {

using std::chrono_literals::operator""ms;
using testing_host::MountedVolume;

constexpr const char* kAccount = "volume-test";

/// The engine on this machine's real volumes, in virtual time.
class Engine {
 public:
  explicit Engine(platform::UnmountApprovals* approvals = nullptr)
      : gio_(dispatch, volumes_),
        pool(WVDBPool::init({databases_, dispatch, volumes_, approvals ? *approvals : gio_})) {
    pool->setAccountId(kAccount);
    provider = WVIconProvider::init({clock, dispatch, tools_, pool});
  }

  /// Draws, lets everything happen, draws again.
  std::string word(const std::string& path) {
    provider->colorFor(ItemURL(path));
    dispatch.runAll();
    return provider->colorFor(ItemURL(path)).value_or("none");
  }

  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};

 private:
  platform::SystemClock systemClock_;
  platform::SystemVolumes volumes_;
  platform::SqliteDatabases databases_{systemClock_};
  platform::GioUnmountApprovals gio_;
  platform::Runtime runtime_;
  WVFinderTools tools_{runtime_, dispatch.mainQueue(), clock};

 public:
  std::shared_ptr<WVDBPool> pool;
  std::shared_ptr<WVIconProvider> provider;
};

/// A file that is backed up, one that is not, and the database that says so.
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

/// Unmounts as a file manager does; answers whether the volume is gone.
bool unmountLikeAPerson(GMount* mount, Engine& engine) {
  struct Answer {
    bool came = false;
    bool unmounted = false;
  } answer;
  g_mount_unmount_with_operation(
      mount, G_MOUNT_UNMOUNT_NONE, nullptr, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer out) {
        GError* error = nullptr;
        auto& to = *static_cast<Answer*>(out);
        to.unmounted = g_mount_unmount_with_operation_finish(G_MOUNT(source), result, &error);
        to.came = true;
        g_clear_error(&error);
      },
      &answer);
  while (!answer.came) {
    engine.dispatch.runAll();
    g_main_context_iteration(nullptr, TRUE);
  }
  return answer.unmounted;
}

class VolumeTest : public testing::Test {
 protected:
  void expectTheRightWords(Engine& engine, const MountedVolume& volume) {
    EXPECT_EQ(engine.word(volume.path("done")), "green");
    EXPECT_EQ(engine.word(volume.path("waiting")), "blue");
    EXPECT_EQ(engine.word(volume.path()), "red");
  }
  void expectNoReopeningForFiveSeconds(Engine& engine, const MountedVolume& volume) {
    EXPECT_EQ(engine.pool->accessorWithPath(volume.path("done")), nullptr);
    engine.dispatch.advance(4999ms);
    EXPECT_EQ(engine.pool->accessorWithPath(volume.path("done")), nullptr);
    engine.dispatch.advance(1ms);
    EXPECT_NE(engine.pool->accessorWithPath(volume.path("done")), nullptr);
  }
};

TEST_F(VolumeTest, AnOpenVolumeIsLetGoUnmountedAndFoundAgain) {
  MountedVolume volume(MountedVolume::Kind::tmpfs, "/media/wevora-stick");
  ASSERT_TRUE(volume.mount());
  fillVolume(volume);
  platform::ManualUnmountApprovals approvals;
  Engine engine(&approvals);
  expectTheRightWords(engine, volume);
  EXPECT_FALSE(volume.unmount()) << "the open database keeps the volume busy";

  EXPECT_EQ(approvals.ask(volume.path()), std::nullopt);
  engine.dispatch.runAll();
  EXPECT_EQ(engine.pool->accessorWithPath(volume.path("done")), nullptr);
  EXPECT_TRUE(volume.unmount());

  ASSERT_TRUE(volume.mount());
  fillVolume(volume);
  expectNoReopeningForFiveSeconds(engine, volume);
  expectTheRightWords(engine, volume);
}

TEST_F(VolumeTest, AReaderThatWasDroppedBeforeDoesNotKeepAVolumeBusy) {
  MountedVolume volume(MountedVolume::Kind::tmpfs, "/media/wevora-stick");
  ASSERT_TRUE(volume.mount());
  fillVolume(volume);
  platform::ManualUnmountApprovals approvals;
  Engine engine(&approvals);
  expectTheRightWords(engine, volume);
  engine.pool->setAccountId("another account");
  engine.dispatch.runAll();
  EXPECT_EQ(approvals.ask(volume.path()), std::nullopt);
  engine.dispatch.runAll();
  EXPECT_TRUE(volume.unmount());
}

TEST_F(VolumeTest, AnEjectedDiskIsLetGoUnmountedAndFoundAgain) {
  // Only root may mount a disk image; the volume of everyone else is in memory, and is unmounted
  // by the kernel's call, as GVolumeMonitor does not list it.
  const bool root = testing_host::mayMountDisks();
  MountedVolume volume(root ? MountedVolume::Kind::ext4 : MountedVolume::Kind::tmpfs,
                       "/media/wevora-disk");
  ASSERT_TRUE(volume.mount());
  fillVolume(volume);
  const platform::GObjectPtr<GVolumeMonitor> monitor(g_volume_monitor_get());
  Engine engine;
  expectTheRightWords(engine, volume);
  if (root) {
    const auto mount = mountListedAt(monitor.get(), volume.path());
    ASSERT_TRUE(mount);
    EXPECT_TRUE(unmountLikeAPerson(mount.get(), engine));
  } else {
    engine.pool->diskShouldBeUnmounted(
        {{{platform::kDiskDescriptionVolumePathKey, volume.path()}}});
    engine.dispatch.runAll();
    EXPECT_TRUE(volume.unmount());
  }

  ASSERT_TRUE(volume.mount());
  if (!root) fillVolume(volume);
  expectNoReopeningForFiveSeconds(engine, volume);
  expectTheRightWords(engine, volume);
}

TEST_F(VolumeTest, ARefusedUnmountIsAnsweredBusyByTheKernelForFiveSeconds) {
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
