// The cost of the link to the agent. Each measurement runs next to a bare baseline. This process is
// the agent; the bundle is another process.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <gio/gio.h>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Benchmarks/BareSqlite.h"
#include "Benchmarks/BenchmarkVolume.h"
#include "Benchmarks/BundleProcess.h"
#include "Connector/DaemonConnectionNames.h"
#include "Connector/DaemonConnectionService.h"
#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"
#include "Platform/Base/Descriptor.h"
#include "Platform/Base/UnixAddress.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/PublishedService.h"
#include "Platform/IPC/SocketConnections.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/ServiceThread/ServiceThread.h"
#include "Tests/SessionBus/SessionBus.h"
#include "Tests/TestAgent/TestAgent.h"

namespace wevora::benchmarks {
namespace {

using platform::Array;
using platform::Value;
using testing_host::ChildProcess;
using testing_host::TestAgent;

constexpr int kItems = 20;
/// A user of their own, so that the names that are looked up are not the event's agent's.
constexpr const char* kUser = "benchmark";

std::string nameOfSeed(std::uint32_t seed) {
  return *daemonConnectionNameAndSeed(kUser, seed);
}

/// An agent with a service thread of its own, so that it answers while this one waits.
class Service {
 public:
  explicit Service(const std::string& name) {
    agent_.account = TestAgent::accountOf(BenchmarkVolume::kAccount);
    thread_.perform([&] {
      service_ = platform::PublishedService::publish(
          name, daemonConnectionProtocol(),
          [this](const std::string& method, const Array& arguments) {
            return callDaemonConnection(agent_, method, arguments);
          });
    });
  }
  ~Service() {
    thread_.perform([&] { service_.reset(); });
  }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
  std::string object() const { return *agent_.object; }

 private:
  TestAgent agent_;
  testing_host::ServiceThread thread_;
  std::unique_ptr<platform::PublishedService> service_;
};

/// A folder of twenty items that plays a volume, the agent, and the bundle in its own process.
class Link {
 public:
  explicit Link(const std::string& program) {
    database_.scan([](const std::string&) {});
    folderId_ = bare_.walk("/Pictures");
    GError* failed = nullptr;
    bus_ = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &failed);
    if (bus_ == nullptr) throw std::runtime_error(failed->message);
    g_dbus_connection_set_exit_on_close(bus_, FALSE);
    g_dbus_connection_signal_subscribe(bus_, nullptr, kBareInterface, kBarePong, kBarePath, nullptr,
                                       G_DBUS_SIGNAL_FLAGS_NONE, &Link::ponged, this, nullptr);
    bundle_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{program, "--bundle", volume_.path(), item_});
    timeOfWord("blue ");
  }

  /// Marks the item and posts the event. Returns the time until the item is asked to redraw with
  /// its new word.
  std::chrono::nanoseconds eventToRedraw() {
    synchronized_ = !synchronized_;
    database_.mark({item_}, synchronized_);
    const auto start = sharedTime();
    center_.post({kIDaemonConnectionWVREventNotification, service_.object(), event_});
    return std::chrono::nanoseconds(timeOfWord(synchronized_ ? "green " : "blue ") - start);
  }

  std::chrono::nanoseconds bareRoundTripAndQuery() {
    ponged_ = false;
    const auto start = sharedTime();
    g_dbus_connection_emit_signal(bus_, nullptr, kBarePath, kBareInterface, kBarePing, nullptr,
                                  nullptr);
    while (!ponged_) g_main_context_iteration(nullptr, TRUE);
    BareStatuses statuses;
    bare_.readFolder(folderId_, statuses);
    const auto end = sharedTime();
    if (statuses.size() != kItems) std::abort();
    return std::chrono::nanoseconds(end - start);
  }

 private:
  static std::string made(const platform::TemporaryFolder& volume) {
    const std::string folder = volume.path("Pictures");
    std::filesystem::create_directory(folder);
    for (int i = 0; i < kItems; ++i)
      std::ofstream(folder + "/" + BenchmarkVolume::itemName(i)).flush();
    return folder + "/" + BenchmarkVolume::itemName(kItems / 2);
  }

  static void ponged(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
                     const gchar* /*interface*/, const gchar* /*name*/, GVariant* /*arguments*/,
                     gpointer self) noexcept {
    static_cast<Link*>(self)->ponged_ = true;
  }

  /// Waits until the bundle draws this word, and is ready for the next event.
  std::int64_t timeOfWord(const std::string& word) {
    const auto line = nextLine();
    if (!line.starts_with(word)) throw std::runtime_error("the bundle drew " + line);
    if (nextLine() != kReady) throw std::runtime_error("the bundle is not ready");
    return std::stoll(line.substr(word.size()));
  }

  std::string nextLine() {
    const auto end = [&] { return bundle_->output().find('\n', read_); };
    if (!testing_host::runMainLoopUntil([&] { return end() != std::string::npos; }))
      throw std::runtime_error("the bundle does not draw: " + bundle_->errors());
    const auto line = bundle_->output().substr(read_, end() - read_);
    read_ += line.size() + 1;
    return line;
  }

  const platform::TemporaryFolder volume_;
  const std::string item_ = made(volume_);
  const std::string databasePath_ = databaseIn(volume_.path());
  const platform::SystemClock clock_;
  agent_sim::AgentDatabase database_{databasePath_, volume_.path(), clock_,
                                     agent_sim::AgentDatabase::Mode::createIfMissing};
  BareSqlite bare_{databasePath_};
  std::string folderId_;
  Service service_{*daemonConnectionNameAndSeed(g_get_user_name(), 0)};
  platform::BusNotificationCenter center_;
  const platform::Dictionary event_ = {
      {kIDaemonConnectionWVREventNotificationPathsKey, Value(Array{Value(item_)})},
      {kIDaemonConnectionWVREventNotificationEventsKey, Value(Array{Value("Changed")})}};
  GDBusConnection* bus_ = nullptr;
  bool ponged_ = false;
  bool synchronized_ = false;
  std::unique_ptr<ChildProcess> bundle_;
  std::size_t read_ = 0;
};

template <class Measured>
void measure(benchmark::State& state, Measured measured) {
  for (auto _ : state) {
    const std::chrono::duration<double> took = measured();
    state.SetIterationTime(took.count());
  }
}

// --- Connecting ----------------------------------------------------------------------------------

class NoEngine : public StatusEngine {
 public:
  void setTurnedOn(bool on) override { turnedOn = on; }
  void reinit() override {}
  void setAccountIdOfPool(const Text& /*accountId*/) override {}
  void reinitPool() override {}
  void updateWindows() override {}
  void updateDesktopForce(bool /*force*/) override {}
  void updateNodesWithPath(std::vector<std::string> /*paths*/) override {}
  bool turnedOn = false;
};

class NoSettings : public SettingsReader {
 public:
  std::optional<Value> readKey(const std::string&, const std::optional<std::string>&) override {
    return std::nullopt;
  }
};

/// From nothing to badges that are on: 29 absent names, the agent, its account and its status.
void connectByBundle(benchmark::State& state) {
  const Service service(nameOfSeed(daemonConnectionNameMaximalSeed() - 1));
  platform::LocalNotificationCenter local;
  platform::SocketConnections objects(local);
  platform::BusNotificationCenter center;
  for (auto _ : state) {
    NoEngine engine;
    WVAgentConnector connector({kUser, objects, center, local, engine,
                                [](const auto&) { return std::make_unique<NoSettings>(); }});
    connector.connect();
    if (!engine.turnedOn) return state.SkipWithError("no agent");
  }
}

bool connectsTo(const std::string& path) {
  const auto address = platform::UnixAddress::of(path);
  const platform::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return ::connect(socket.get(), address->get(), platform::UnixAddress::size()) == 0;
}

void absentNamesByBundle(benchmark::State& state) {
  platform::LocalNotificationCenter local;
  platform::SocketConnections objects(local);
  for (auto _ : state)
    for (std::uint32_t seed = 1; seed <= daemonConnectionNameMaximalSeed(); ++seed)
      if (objects.portForName(nameOfSeed(seed))) return state.SkipWithError("an agent");
}

void absentNamesBare(benchmark::State& state) {
  for (auto _ : state)
    for (std::uint32_t seed = 1; seed <= daemonConnectionNameMaximalSeed(); ++seed)
      if (connectsTo(platform::userRuntimeFolder() + "/" + nameOfSeed(seed)))
        return state.SkipWithError("an agent");
}

void registerAll(Link& link) {
  // One event each, so that the median is that of the events.
  constexpr int kEvents = 300;
  const auto registered = [](const char* name, auto measured) {
    benchmark::RegisterBenchmark(name,
                                 [measured](benchmark::State& state) { measure(state, measured); })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(kEvents)
        ->Unit(benchmark::kMicrosecond);
  };
  registered("event to redraw/engine", [&link] { return link.eventToRedraw(); });
  registered("event to redraw/bare", [&link] { return link.bareRoundTripAndQuery(); });
  benchmark::RegisterBenchmark("30 absent names/engine", &absentNamesByBundle);
  benchmark::RegisterBenchmark("30 absent names/bare", &absentNamesBare);
  benchmark::RegisterBenchmark("connect at seed 29/engine", &connectByBundle)->UseRealTime();
}

}  // namespace
}  // namespace wevora::benchmarks

int main(int count, char** arguments) {
  using namespace wevora::benchmarks;
  if (count == 4 && std::string_view(arguments[1]) == "--bundle")
    return runBundle(arguments[2], arguments[3]);
  const wevora::testing_host::SessionBus bus;
  Link link(arguments[0]);
  registerAll(link);
  benchmark::Initialize(&count, arguments);
  benchmark::RunSpecifiedBenchmarks();
}
