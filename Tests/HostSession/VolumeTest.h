#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/mount.h>
#include <system_error>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/HostSession/StandInAgent.h"
#include "Tests/Mounts/MountedVolume.h"

namespace wevora::testing_host {

/// A mounted volume of an account, with a file that is backed up, one that is not, and a folder.
/// Errors: a test that scans without a mounted volume fails.
class VolumeTest : public testing::Test {
 protected:
  explicit VolumeTest(std::string account) : account_(std::move(account)) {
    mounted_ = volume.mount();
    std::filesystem::create_directories(path("Folder/Inner"));
    write("Folder/inside.txt");
    write("kept.txt");
    write("waiting.txt");
  }
  ~VolumeTest() override {
    ::umount2(volume.path().c_str(), MNT_DETACH);
    std::error_code ignored;
    std::filesystem::remove(volume.path(), ignored);  // other tests show /media
  }
  std::string path(const std::string& name) const { return volume.path(name); }
  void write(const std::string& name) const { std::ofstream(path(name)) << "x"; }

  /// Makes the volume's database: "kept.txt" and the listed files are backed up.
  void scan(std::vector<std::string> backedUp = {}) const {
    ASSERT_TRUE(mounted_);
    agentTool(
        {"init", "--account", account_, "--volume", volume.path(), "--include", volume.path()});
    scanAgain();
    backedUp.emplace_back("kept.txt");
    std::vector<std::string> marked = {"mark", "--account", account_, "--synchronized"};
    for (const auto& name : backedUp) marked.push_back(path(name));
    agentTool(marked);
  }
  void scanAgain() const { agentTool({"scan", "--account", account_, "--volume", volume.path()}); }
  void mark(const std::string& name, const std::string& as) const {
    agentTool({"mark", "--account", account_, as, path(name)});
  }
  std::string database() const { return path("Wevora-Account-" + account_ + ".db"); }

  MountedVolume volume{MountedVolume::Kind::tmpfs, newMountPoint()};

 private:
  /// Not used before in this process: a file manager that several tests share may still hold what
  /// it knows of an earlier volume.
  static std::string newMountPoint() {
    static int count = 0;
    return "/media/Stick" + std::to_string(++count);
  }

  const std::string account_;
  bool mounted_ = false;
};

}  // namespace wevora::testing_host
