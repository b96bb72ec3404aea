#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Apps/agent_sim/DatabaseWriter.h"
#include "Connector/DaemonConnectionNames.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Mounts/MountedVolume.h"
#include "Tests/ServiceThread/ServiceThread.h"
#include "Tests/SessionBus/SessionBus.h"

namespace wevora::testing_host {

/// What an agent in another process tells over the bus.
struct Heard {
  std::string name;
  std::string object;
  std::vector<std::string> paths;
  std::vector<std::string> words;

  bool tells(const std::string& path, const std::string& word) const {
    return std::find(paths.begin(), paths.end(), path) != paths.end() &&
           std::find(words.begin(), words.end(), word) != words.end();
  }
};

/// Agents in processes of their own, on a session bus and in a runtime folder that are the test's,
/// and a volume that they keep. The user "zoe" is nobody's.
class AgentTest : public testing::Test {
 protected:
  static constexpr const char* kUser = "zoe";

  AgentTest() {
    ::setenv("GIO_USE_VFS", "local", 1);
    ::setenv("GIO_MODULE_DIR", "/nonexistent", 1);
    mounted = volume.mount();
    for (const auto* name : {kIDaemonConnectionBecomeAvailableNotification,
                             kIDaemonConnectionAccountInfoChangedNotification,
                             kIDaemonConnectionConnectionStatusChangedNotification,
                             kIDaemonConnectionWVREventNotification})
      observations.push_back(center.observe(
          name, std::nullopt,
          [this](const platform::DistributedNotification& notification) { hear(notification); }));
  }

  std::vector<std::string> serveCommand(std::vector<std::string> more) const {
    std::vector<std::string> command{WEVORA_AGENT_SIM, "serve", "--account", "7", "--user", kUser};
    command.insert(command.end(), more.begin(), more.end());
    return command;
  }
  /// An agent that serves; null where it ends instead.
  std::unique_ptr<ChildProcess> served(std::vector<std::string> more = {}) {
    auto agent = std::make_unique<ChildProcess>(serveCommand(std::move(more)));
    if (!agent->waitForOutput("serving ")) return nullptr;
    return agent;
  }
  /// One that keeps the volume and has scanned it. It synchronizes as fast as it may.
  std::unique_ptr<ChildProcess> keeping(std::vector<std::string> more = {"--sync-rate", "1000"}) {
    more.insert(more.end(), {"--volume", volume.path()});
    auto agent = served(std::move(more));
    if (!agent || !agent->waitForOutput("scanned ")) return nullptr;
    return agent;
  }
  static Outcome ctl(std::vector<std::string> words) {
    std::vector<std::string> command{WEVORA_AGENT_SIM, "ctl", "--user", kUser};
    command.insert(command.end(), words.begin(), words.end());
    return ranToItsEnd(command);
  }

  std::string socket() const {
    return bus.runtimeFolder() + "/" + *daemonConnectionNameAndSeed(kUser, 0);
  }
  Outcome gdbus(const std::string& command, std::vector<std::string> more) const {
    std::vector<std::string> words{"gdbus",  command, "--address",     "unix:path=" + socket(),
                                   "--dest", ":1.0",  "--object-path", "/"};
    words.insert(words.end(), more.begin(), more.end());
    return ranToItsEnd(words);
  }
  std::string asked(const std::string& method, std::vector<std::string> arguments = {}) const {
    arguments.insert(arguments.begin(), {"--method", "com.Wevora.IDaemonConnection." + method});
    return gdbus("call", arguments).output;
  }

  void write(const std::string& name, const std::string& text = "x") {
    std::ofstream(volume.path(name)) << text;
  }
  static bool until(const std::function<bool()>& condition) { return runMainLoopUntil(condition); }
  bool hears(const std::string& name) {
    return until([&] {
      return std::any_of(heard.begin(), heard.end(), [&](auto& one) { return one.name == name; });
    });
  }
  bool hearsOf(const std::string& item, const std::string& word) {
    return until([&] {
      return std::any_of(heard.begin(), heard.end(),
                         [&](auto& one) { return one.tells(volume.path(item), word); });
    });
  }

  /// What the database of an account says: the first value of a query.
  agent_sim::DatabaseValue value(const std::string& query,
                                const std::vector<agent_sim::DatabaseValue>& values = {},
                                const std::string& account = "7") {
    agent_sim::DatabaseWriter reader(volume.path("Wevora-Account-" + account + ".db"),
                                     agent_sim::DatabaseWriter::Mode::mustExist);
    const auto rows = reader.run(query, values);
    return rows.empty() ? agent_sim::DatabaseValue(std::string("no row")) : rows.front().front();
  }
  bool isKnown(const std::string& name, const std::string& account = "7") {
    return value("SELECT count(*) FROM file WHERE name_long=?", {name}, account) ==
           agent_sim::DatabaseValue(std::int64_t{1});
  }
  bool isSynchronized(const std::string& name) {
    return value("SELECT synchronized IS NOT NULL FROM file WHERE name_long=?", {name}) ==
           agent_sim::DatabaseValue(std::int64_t{1});
  }

  SessionBus bus;
  MountedVolume volume{MountedVolume::Kind::tmpfs, "/media/wevora-agent"};
  bool mounted = false;
  platform::BusNotificationCenter center;
  std::vector<Heard> heard;

 private:
  void hear(const platform::DistributedNotification& notification) {
    const auto& info = notification.userInfo;
    heard.push_back({notification.name, notification.object.value_or(""),
                     platform::textsIn(info, kIDaemonConnectionWVREventNotificationPathsKey),
                     platform::textsIn(info, kIDaemonConnectionWVREventNotificationEventsKey)});
  }

  std::vector<std::unique_ptr<platform::DistributedNotificationCenter::Observation>> observations;
};

}  // namespace wevora::testing_host
