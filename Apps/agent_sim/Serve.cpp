#include "Apps/agent_sim/Serve.h"

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include <glib-unix.h>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/Console.h"
#include "Apps/agent_sim/RunningAgent.h"
#include "Connector/DaemonConnectionService.h"
#include "Platform/Dispatch/GLibDispatch.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/PublishedService.h"
#include "Platform/IPC/SocketConnections.h"
#include "Platform/Volumes/GioUnmountApprovals.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::agent_sim {
namespace {

using platform::PublishedService;

/// The main loop, which SIGTERM, SIGINT and SIGHUP end.
/// Thread-safety: main thread only.
class MainLoop {
 public:
  MainLoop() : loop_(g_main_loop_new(nullptr, FALSE)) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
      if (!isIgnored(signal))
        sources_.push_back(g_unix_signal_add(signal, &MainLoop::onSignal, loop_));
    std::signal(SIGPIPE, SIG_IGN);  // the reader of the output may exit first
  }
  ~MainLoop() {
    for (const guint source : sources_) g_source_remove(source);
    g_main_loop_unref(loop_);
  }
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  void run() { g_main_loop_run(loop_); }
  void quit() { g_main_loop_quit(loop_); }

 private:
  /// The parent process, such as nohup, may have disabled the signal.
  static bool isIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
  }
  static gboolean onSignal(gpointer loop) noexcept {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_CONTINUE;
  }

  GMainLoop* loop_;
  std::vector<guint> sources_;
};

/// Unique to this process.
std::string notificationObject(const ServeOptions& options) {
  return "com.Wevora.client." + options.user + "." + std::to_string(options.seed) + "." +
         std::to_string(::getpid());
}

std::unique_ptr<PublishedService> published(const std::string& name, RunningAgent& agent) {
  auto service = PublishedService::publish(
      name,
      {{daemonConnectionProtocol(),
        [&agent](const std::string& method, const platform::Array& arguments) {
          return callDaemonConnection(agent.rootObject(), method, arguments);
        }},
       {controlProtocol(), [&agent](const std::string& method, const platform::Array& arguments) {
          return handleControlCall(agent, method, arguments);
        }}});
  if (service) return service;
  platform::LocalNotificationCenter center;
  if (platform::SocketConnections(center).portForName(name))
    throw Failure("an agent is already running as " + name + " (use another --seed)");
  throw Failure("cannot create the socket '" + platform::userRuntimeFolder() + "/" + name +
                "': check that the folder exists and that you may write to it");
}

}  // namespace

int runServe(const ServeOptions& options) {
  for (const auto& volume : options.volumes) mounted(volume);
  const auto name = daemonConnectionNameAndSeed(options.user, options.seed).value_or("");

  MainLoop loop;
  const platform::SystemClock clock;
  const platform::SystemVolumes volumes;
  platform::GLibDispatch dispatch;
  platform::BusNotificationCenter notifications;
  platform::GioUnmountApprovals unmounts(dispatch, volumes);
  RunningAgent agent(options, notificationObject(options),
                     {dispatch, clock, notifications, [&loop] { loop.quit(); }});
  const auto service = published(name, agent);
  for (const auto& volume : options.volumes) prepareDatabase(volume, options.account, clock);
  say("serving " + name);
  // Without a bus GIO's other volume monitors fail, and each prints a warning of its own.
  if (!agent.start()) ::setenv("GIO_USE_VOLUME_MONITOR", "unix", 0);
  agent.watchUnmounts(unmounts);
  loop.run();
  say("ended");
  return 0;
}

}  // namespace wevora::agent_sim
