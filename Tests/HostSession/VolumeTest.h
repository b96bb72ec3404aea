#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/HostSession/StandInAgent.h"
#include "Tests/Mounts/MountedVolume.h"

namespace wevora::testing_host {

/// A volume "Stick" with a file that is backed up, one that is not, and a folder, of an account.
/// Threads: one. Owns: the volume. Errors: a test that scans without one fails.
class VolumeTest : public testing::Test {
 protected:
  explicit VolumeTest(std::string account) : account_(std::move(account)) {
    mounted_ = volume.mount();
    std::filesystem::create_directories(path("Folder/Inner"));
    write("Folder/inside.txt");
    write("kept.txt");
    write("waiting.txt");
  }
  std::string path(const std::string& name) const { return volume.path(name); }
  void write(const std::string& name) const { std::ofstream(path(name)) << "x"; }

  /// The database of the volume as it is now: "kept.txt" and what the list names are backed up.
  void scan(std::vector<std::string> backedUp = {}) const {
    ASSERT_TRUE(mounted_);
    agentTool(
        {"init", "--account", account_, "--volume", volume.path(), "--include", volume.path()});
    scanAgain();
    backedUp.emplace_back("kept.txt");
    for (const auto& name : backedUp) mark(name, "--synchronized");
  }
  void scanAgain() const { agentTool({"scan", "--account", account_, "--volume", volume.path()}); }
  void mark(const std::string& name, const std::string& as) const {
    agentTool({"mark", "--account", account_, as, path(name)});
  }
  std::string database() const { return path("Wevora-Account-" + account_ + ".db"); }

  MountedVolume volume{MountedVolume::Kind::tmpfs, "/media/Stick"};

 private:
  const std::string account_;
  bool mounted_ = false;
};

}  // namespace wevora::testing_host
