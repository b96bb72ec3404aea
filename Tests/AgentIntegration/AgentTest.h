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

/// A notification of an agent in another process.
struct Received {
  std::string name;
  std::string object;
  std::vector<std::string> paths;
  std::vector<std::string> words;

  bool contains(const std::string& path, const std::string& word) const {
    return std::find(paths.begin(), paths.end(), path) != paths.end() &&
           std::find(words.begin(), words.end(), word) != words.end();
  }
};

/// Agents in separate processes, with their own session bus, runtime folder and volume. The user
/// "zoe" does not exist.
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
          name, std::nullopt, [this](const platform::DistributedNotification& notification) {
            receive(notification);
          }));
  }

  std::vector<std::string> serveCommand(std::vector<std::string> more) const {
    std::vector<std::string> command{WEVORA_AGENT_SIM, "serve", "--account", "7", "--user", kUser};
    command.insert(command.end(), more.begin(), more.end());
    return command;
  }
  /// Starts an agent; returns null when it exits instead of serving.
  std::unique_ptr<ChildProcess> served(std::vector<std::string> more = {}) {
    auto agent = std::make_unique<ChildProcess>(serveCommand(std::move(more)));
    if (!agent->waitForOutput("serving ")) return nullptr;
    return agent;
  }
  /// Starts an agent that follows the volume, and waits for its first scan.
  std::unique_ptr<ChildProcess> following(std::vector<std::string> more = {"--sync-rate", "1000"}) {
    more.insert(more.end(), {"--volume", volume.path()});
    auto agent = served(std::move(more));
    if (!agent || !agent->waitForOutput("scanned ")) return nullptr;
    return agent;
  }
  static Outcome ctl(std::vector<std::string> words) {
    std::vector<std::string> command{WEVORA_AGENT_SIM, "ctl", "--user", kUser};
    command.insert(command.end(), words.begin(), words.end());
    return runToCompletion(command);
  }

  std::string socket() const {
    return bus.runtimeFolder() + "/" + *daemonConnectionNameAndSeed(kUser, 0);
  }
  Outcome gdbus(const std::string& command, std::vector<std::string> more) const {
    std::vector<std::string> words{"gdbus",  command, "--address",     "unix:path=" + socket(),
                                   "--dest", ":1.0",  "--object-path", "/"};
    words.insert(words.end(), more.begin(), more.end());
    return runToCompletion(words);
  }
  std::string asked(const std::string& method, std::vector<std::string> arguments = {}) const {
    arguments.insert(arguments.begin(), {"--method", "com.Wevora.IDaemonConnection." + method});
    return gdbus("call", arguments).output;
  }

  void write(const std::string& name, const std::string& text = "x") {
    std::ofstream(volume.path(name)) << text;
  }
  static bool until(const std::function<bool()>& condition) { return runMainLoopUntil(condition); }
  bool receives(const std::string& name) {
    return until([&] {
      return std::any_of(received.begin(), received.end(),
                         [&](auto& one) { return one.name == name; });
    });
  }
  bool receivesEvent(const std::string& item, const std::string& word) {
    return until([&] {
      return std::any_of(received.begin(), received.end(),
                         [&](auto& one) { return one.contains(volume.path(item), word); });
    });
  }

  /// The first value of a query on the database of an account.
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
  std::vector<Received> received;

 private:
  void receive(const platform::DistributedNotification& notification) {
    const auto& info = notification.userInfo;
    received.push_back({notification.name, notification.object.value_or(""),
                        platform::textsIn(info, kIDaemonConnectionWVREventNotificationPathsKey),
                        platform::textsIn(info, kIDaemonConnectionWVREventNotificationEventsKey)});
  }

  std::vector<std::unique_ptr<platform::DistributedNotificationCenter::Observation>> observations;
};

}  // namespace wevora::testing_host
