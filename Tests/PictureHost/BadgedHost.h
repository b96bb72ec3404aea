#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FinderIntegration/finder_bundle/BundleLoad.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Database/SqliteDatabases.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/PictureHost/PictureHost.h"
#include "Tests/PictureHost/Sight.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora::testing_host {

/// The folder that is installed, of a test's own.
class InstalledBundle {
 public:
  InstalledBundle();
  /// All the pictures: badges of 16, 32, 64 and 128 pixels, a sidebar picture of 32 and 64.
  void addPictures();
  void removePicture(const std::string& name);
  void setVersion(const std::string& version);

  platform::TemporaryFolder root;
  platform::InstalledPaths paths = platform::InstalledPaths::belowRoot(root.path());
  const std::string contents;
};

/// A volume with a few items of all words.
class BadgedVolume : public platform::Volumes {
 public:
  BadgedVolume();
  std::vector<platform::Volume> mountedVolumes() const override {
    return {{"/", "ext4"}, {path, "ext4"}};
  }
  std::string item(const std::string& name) const { return path + "/" + name; }

  platform::TemporaryFolder folder;
  const std::string path;
  SyncDatabase database;
};

/// A picture host with the bundle in it, on a volume that has the items "green", "blue", "red" and
/// "plain" (which has no word), in virtual time. The bundle is loaded by `load`.
/// Threads: one. Owns: all of it. Errors: none.
class BadgedHost {
 public:
  explicit BadgedHost(PictureHost::Classes classes = {}, bool withPictures = true);

  void load() { bundle.run(); }
  std::string item(const std::string& name) const { return volume.item(name); }
  ProviderAccess providerAccess() {
    return [this]() -> WVIconProvider& { return *provider; };
  }
  /// Lets the words of the volume's items be read.
  void settle();

  PictureHost host;
  InstalledBundle installed;
  BadgedVolume volume;
  platform::SystemClock systemClock;
  platform::SqliteDatabases databases{systemClock};
  platform::ManualUnmountApprovals approvals;
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  WVFinderTools tools{host.runtime(), dispatch.mainQueue(), clock};
  std::shared_ptr<WVDBPool> pool = WVDBPool::init({databases, dispatch, volume, approvals});
  std::shared_ptr<WVIconProvider> provider;
  std::vector<std::string> order;  ///< what was loaded, of the classes that others bring
  std::vector<std::vector<std::int32_t>> versions;  ///< what `setVersion` was given
  BundleLoad bundle;

 private:
  std::shared_ptr<WVIconProvider> makeProvider(bool withPictures);
  BundleLoad::Services services();
};

}  // namespace wevora::testing_host
