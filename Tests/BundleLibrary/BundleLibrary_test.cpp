#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <sys/mount.h>

#include <gtest/gtest.h>

#include "FinderIntegration/wevoraLoader/InstalledVersion.h"
#include "Platform/Graphics/ImageFiles.h"
#include "Platform/Installation/Bundle.h"
#include "Platform/Installation/LoginUser.h"
#include "Platform/PropertyLists/PropertyLists.h"
#include "Platform/Runtime/Runtime.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Mounts/InMountNamespace.h"

namespace wevora {
namespace {

using platform::Bundle;
using platform::Id;
using platform::Implementation;
using platform::InstalledPaths;
using platform::Runtime;
using platform::send;

/// A writable home folder for the bundle: the only one in the password database of this process's
/// mount namespace.
class PrivateHome : public testing::Environment {
 public:
  void SetUp() override {
    const std::string users = folder_.path("passwd");
    std::ofstream(users) << "root:x:0:0:root:" << folder_.path() << ":/bin/sh\n";
    ASSERT_EQ(::mount(users.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(platform::homeFolderOfUser("root"), folder_.path());
    ::setenv("HOME", folder_.path().c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", folder_.path().c_str(), 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + folder_.path("none")).c_str(), 1);
  }
  void TearDown() override { ::umount("/etc/passwd"); }

 private:
  platform::TemporaryFolder folder_;
};

/// The bundle of this build.
class BundleLibraryTest : public testing::Test {
 protected:
  InstalledPaths paths = InstalledPaths::belowRoot(WEVORA_BUILD);
  std::optional<Bundle> bundle =
      Bundle::bundleWithPath("/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle", paths);
};

TEST_F(BundleLibraryTest, EveryImageIsAmongTheResources) {
  ASSERT_TRUE(bundle);
  for (const char* name : {"ok.icns", "backup.icns", "w.icns"}) {
    const auto image = bundle->imageForResource(name);
    ASSERT_TRUE(image) << name;
    for (const double side : {16.0, 32.0, 48.0, 128.0, 256.0})
      EXPECT_EQ(image->bestRepresentation({side, side})->bitmap->width(),
                static_cast<std::size_t>(side))
          << name << ": each size has its own image";
  }
  const auto sidebar = bundle->imageForResource("sidebar.tiff");
  ASSERT_TRUE(sidebar);
  EXPECT_GE(sidebar->representations().size(), 2U);
}

TEST_F(BundleLibraryTest, TheInformationListHasAVersionOfThreeParts) {
  const auto list = platform::PropertyLists::read(paths.translate(kBundleInfoPath));
  ASSERT_TRUE(list);
  const auto* info = list->as<platform::Dictionary>();
  ASSERT_NE(info, nullptr);
  const auto* version = platform::valueAs<std::string>(*info, kFinderVersionKey);
  ASSERT_NE(version, nullptr);
  EXPECT_TRUE(versionFromText(*version));
}

TEST_F(BundleLibraryTest, ItHooksTheHostsClassesOnceAndExportsTheLoadersFunctions) {
  int drawn = 0;
  const auto cells = Runtime::shared().registerClass("TListViewIconAndTextCell");
  cells->addMethod(
      "drawIconWithFrame:",
      Implementation::of<void(platform::Rect)>([&](const Id&, platform::Rect) { ++drawn; }),
      "v@:{CGRect={CGPoint=dd}{CGSize=dd}}");
  ASSERT_TRUE(bundle);
  EXPECT_TRUE(bundle->load());
  const auto hook = cells->instanceMethod("drawIconWithFrame:")->implementation;
  const auto own = cells->instanceMethod("wv_drawIconWithFrame:");
  ASSERT_TRUE(own) << "the host and the bundle share one runtime";
  EXPECT_TRUE(bundle->load());
  EXPECT_EQ(cells->instanceMethod("drawIconWithFrame:")->implementation, hook);

  send<void>(std::make_shared<platform::Object>(*cells),
             "drawIconWithFrame:", platform::Rect{0, 0, 20, 20});
  EXPECT_GE(drawn, 1) << "message types are equal across the libraries";

  const std::string file =
      paths.translate("/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle") +
      "/Contents/Linux/finder_bundle.so";
  void* code = ::dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(code, nullptr) << "the library stays mapped";
  for (const char* name : {"setVersion", "shouldKillFinder", Bundle::kEntry})
    EXPECT_NE(::dlsym(code, name), nullptr) << name;
  ::dlclose(code);
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  testing::AddGlobalTestEnvironment(new wevora::PrivateHome);  // owned by the framework
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
