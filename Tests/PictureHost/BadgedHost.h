#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FinderIntegration/finder_bundle/BundleLoad.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Engine/EngineUnderTest.h"
#include "Tests/PictureHost/BadgeFinder.h"
#include "Tests/PictureHost/PictureHost.h"
#include "Tests/SyncDatabase/SyncDatabase.h"

namespace wevora::testing_host {

/// An installed bundle folder that belongs to one test.
class InstalledBundle {
 public:
  explicit InstalledBundle(bool withPictures);
  /// Writes all images: badges of 16, 32, 64 and 128 pixels, a sidebar image of 32 and 64.
  void addPictures();
  void removePicture(const std::string& name);
  void setVersion(const std::string& version);

  platform::TemporaryFolder root;
  platform::InstalledPaths paths = platform::InstalledPaths::belowRoot(root.path());
  const std::string contents;
};

/// A volume with one item for each word: "green", "blue", "red", and "plain", which has no word.
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

/// A picture host with the bundle in it, on a BadgedVolume, in virtual time. `load` loads the
/// bundle.
class BadgedHost {
 public:
  explicit BadgedHost(PictureHost::Classes classes = {}, bool withPictures = true);

  void load() { bundle.run(); }
  std::string item(const std::string& name) const { return volume.item(name); }
  ProviderAccess providerAccess() {
    return [this]() -> WVIconProvider& { return *engine.provider; };
  }
  /// Refreshes the volume's folder, so that the words of its items are cached.
  void settle();

  PictureHost host;
  InstalledBundle installed;
  BadgedVolume volume;
  EngineUnderTest engine{
      {.volumes = &volume, .runtime = &host.runtime(), .paths = installed.paths, .accountId = "1"}};
  std::vector<std::string> order;  ///< load hooks of classes outside this module, in call order
  std::vector<std::vector<std::int32_t>> versions;  ///< the arguments of each `setVersion`
  BundleLoad bundle;

 private:
  BundleLoad::Services services();
};

}  // namespace wevora::testing_host
