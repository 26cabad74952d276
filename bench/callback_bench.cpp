// Partner callbacks against the local collector over the loopback:
// 1. A session's end to its callback at the collector: a real agent with the callback
//    controller, a configuration with a "tallix.session_end" template, the session paused and
//    the next one started at once (continue interval 0), timed until the collector prints the
//    callback's line.
// 2. 1,000 pending callbacks after the network comes back: from the reachability news to the
//    last one delivered, how many arrived twice, and the most connections open at once
//    (sampled from the kernel's socket table).
#include <httplib.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

#include "LatencyFigure.h"
#include "analytics/config/callbacks/TallixBeaconEventController.h"
#include "analytics/core/agent/TallixAgent.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/NotificationCenter.h"
#include "tests/analytics/FixedClock.h"
#include "tools/tallix-collector/TallixCollectorServer.h"
#include "tools/tallix-collector/TallixReportStore.h"

namespace {

using namespace tallix;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using foundation::Value;

constexpr int kRounds = 30;
constexpr int kPendingCallbacks = 1000;

std::filesystem::path scratch(const std::string& name) {
  const auto directory = std::filesystem::temp_directory_path() /
                         ("orvane-callbacks-" + std::to_string(::getpid()) + "-" + name);
  std::filesystem::remove_all(directory);
  std::filesystem::create_directories(directory);
  return directory;
}

// The collector's console, which says when each callback arrived.
class ArrivalCounter : public std::stringbuf {
 public:
  int arrived() {
    std::lock_guard lock(mutex_);
    return callbacks_;
  }
  bool waitFor(int count, std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return callbacks_ >= count; });
  }

 protected:
  int sync() override {
    std::lock_guard lock(mutex_);
    const std::string text = str();
    for (std::size_t at = text.find("callback "); at != std::string::npos;
         at = text.find("callback ", at + 1))
      ++callbacks_;
    str("");
    changed_.notify_all();
    return 0;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int callbacks_ = 0;
};

class Collector {
 public:
  Collector() : console_(&arrivals), server_(store_, {}, console_) {
    port = server_.bind("127.0.0.1", 0).value_or(0);
    serving_ = std::thread([this] { server_.listen(); });
  }
  ~Collector() {
    server_.stop();
    serving_.join();
    std::filesystem::remove_all(directory_);
  }
  std::string url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port) + path;
  }
  // The template the configuration lists, served fresh for a day.
  bool serve(const std::string& uri) {
    const std::string control =
        R"({"config":{"callbacks":{"templates":[{"partner":"bench","events":)"
        R"(["tallix.session_end"],"method":"GET","uri_template":")" +
        uri + R"("}]}}})";
    httplib::Client client("127.0.0.1", port);
    const auto answer = client.Post("/control", control, "application/json");
    return answer && answer->status == 200;
  }

  ArrivalCounter arrivals;
  int port = 0;

 private:
  std::filesystem::path directory_ = scratch("collector");
  TallixReportStore store_{directory_};
  std::ostream console_;
  TallixCollectorServer server_;
  std::thread serving_;
};

// The agent's sockets to the port, from the kernel's table: every state but the closed ones
// (TIME_WAIT and CLOSE hold no descriptor).
int openConnections(int port) {
  std::ifstream table("/proc/net/tcp");
  std::string line;
  std::getline(table, line);
  char portText[8];
  std::snprintf(portText, sizeof portText, ":%04X", port);
  int count = 0;
  while (std::getline(table, line)) {
    std::istringstream fields(line);
    std::string slot, local, remote, state;
    fields >> slot >> local >> remote >> state;
    count += remote.ends_with(portText) && state != "06" && state != "07";
  }
  return count;
}

std::vector<double> sessionEndToCallback(Collector& collector) {
  const auto directory = scratch("agent");
  foundation::NotificationCenter center;
  TallixEnvironment environment;
  environment.notificationCenter = &center;
  environment.fileDirectory = directory;
  auto controller = std::make_shared<TallixBeaconEventController>();
  environment.services.push_back(controller);
  TallixAgent agent(std::move(environment));
  agent.setServerURL("127.0.0.1:1");
  agent.setBeaconServerURL(collector.url("/sdk/v1/config"));
  agent.setBeaconEnabled(true);
  agent.setSessionContinueSeconds(0);
  if (!collector.serve(collector.url("/partner?d=%{session_duration_millis}")))
    std::fprintf(stderr, "the collector refused the configuration\n");
  agent.startSession("CALLBACKBENCH");
  agent.waitUntilIdle(5s);
  controller->waitUntilIdle(5s);
  std::this_thread::sleep_for(200ms);  // the configuration's answer

  std::vector<double> milliseconds;
  for (int round = 0; round < kRounds; ++round) {
    std::this_thread::sleep_for(20ms);
    const int before = collector.arrivals.arrived();
    const auto start = Clock::now();
    agent.applicationWillResignActive();
    std::this_thread::sleep_for(1ms);  // later than the continue interval of 0 s
    agent.applicationDidBecomeActive();
    if (!collector.arrivals.waitFor(before + 1, 5s)) {
      std::fprintf(stderr, "round %d: no callback within 5 s\n", round);
      continue;
    }
    const std::chrono::duration<double, std::milli> elapsed = Clock::now() - start;
    milliseconds.push_back(elapsed.count() - 1.0);
  }
  agent.shutdown();
  std::filesystem::remove_all(directory);
  return milliseconds;
}

void pendingAfterTheNetworkReturns(Collector& collector) {
  const auto directory = scratch("pending");
  foundation::NotificationCenter center;
  TallixGlobalVariableStorage storage("1.0");
  storage.setApiKey("CALLBACKBENCH", directory);
  const auto expiration = std::to_string(
      static_cast<long long>(foundation::Date::now().timeIntervalSince1970()) + 86400);
  for (int number = 0; number < kPendingCallbacks; ++number) {
    const std::string url = collector.url("/pending?n=" + std::to_string(number));
    storage.persistentBeaconUrlsMap().setValue(url, Value::Dictionary{{"invokeURL", url},
                                                                      {"method", "GET"},
                                                                      {"beingFired", false},
                                                                      {"repeatDuration", 30},
                                                                      {"expiration", expiration}});
  }
  auto network = std::make_shared<TallixNetworkUtil>(center, "");
  const TallixSystemClock clock;
  auto controller = std::make_shared<TallixBeaconEventController>();
  controller->agentDidStart({"CALLBACKBENCH", directory, storage, network, clock, center, {}});
  controller->waitUntilIdle(5s);

  const int before = collector.arrivals.arrived();
  int mostConnections = 0;
  const auto start = Clock::now();
  network->reachabilityChanged(true);
  while (!storage.persistentBeaconUrlsMap().entries().empty() && Clock::now() - start < 30s) {
    mostConnections = std::max(mostConnections, openConnections(collector.port));
    std::this_thread::sleep_for(1ms);
  }
  const std::chrono::duration<double, std::milli> elapsed = Clock::now() - start;
  controller->waitUntilIdle(5s);
  std::this_thread::sleep_for(100ms);
  const int arrived = collector.arrivals.arrived() - before;
  std::printf(
      "%d pending callbacks after the network came back: %.1f ms to deliver all (goal "
      "2000 ms); %d arrivals (%d more than once); at most %d connections open at once\n",
      kPendingCallbacks, elapsed.count(), arrived, arrived - kPendingCallbacks, mostConnections);
  std::filesystem::remove_all(directory);
}

}  // namespace

int main() {
  TallixLog::setLogLevel(0);
  Collector collector;
  if (!collector.port) {
    std::fprintf(stderr, "no loopback port for the collector\n");
    return 1;
  }
  bench::printLatencyFigure("session end to its callback (goal 50 ms)",
                            sessionEndToCallback(collector));
  pendingAfterTheNetworkReturns(collector);
  return 0;
}
