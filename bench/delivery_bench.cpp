// How long 50 stored report blocks take to reach the local collector over the loopback, from
// the moment the network is announced reachable to the moment the last block is removed as
// delivered. Each round starts from a fresh directory and a fresh collector store; the
// collector decodes and writes every report, as it does for a person watching it.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <thread>

#include "LatencyFigure.h"
#include "analytics/core/net/TallixHttpClient.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/upload/TallixDataSender.h"
#include "foundation/DispatchQueue.h"
#include "foundation/NotificationCenter.h"
#include "tests/tools/TestSessionRecord.h"
#include "tools/tallix-collector/TallixCollectorServer.h"
#include "tools/tallix-collector/TallixReportStore.h"

namespace {

using namespace tallix;
using Clock = std::chrono::steady_clock;

constexpr int kBlocks = 50;
constexpr int kEventsPerSession = 50;
constexpr int kRounds = 20;

std::filesystem::path scratch(const std::string& name) {
  const auto directory = std::filesystem::temp_directory_path() /
                         ("orvane-delivery-" + std::to_string(::getpid()) + "-" + name);
  std::filesystem::remove_all(directory);
  std::filesystem::create_directories(directory);
  return directory;
}

// One round: the blocks are stored while no server is known, then delivered at once.
double deliverOnce(int port, const foundation::Value::Bytes& body) {
  const auto directory = scratch("agent");
  foundation::DispatchQueue queue("delivery bench");
  foundation::NotificationCenter center;
  TallixGlobalVariableStorage settings("1.0");
  const FixedClock clock(foundation::Date::fromTimeIntervalSince1970(1700000000));
  std::string serverURL;  // the queue's own
  const TallixHttpTransport::Executor onQueue = [&queue](auto work) {
    queue.async(std::move(work));
  };
  auto sender = std::make_shared<TallixDataSender>(
      onQueue, [&serverURL] { return serverURL; }, std::make_unique<TallixHttpClient>(onQueue),
      settings, clock);
  sender->observeNetworkStatus(center);
  queue.sync([&] {
    sender->setupForApiKey(directory, "BENCHKEY");
    for (int block = 0; block < kBlocks; ++block)
      sender->sendSessionsData(body);
    serverURL = "http://127.0.0.1:" + std::to_string(port) + "/aas.do";
  });

  const auto start = Clock::now();
  center.post(TallixNetworkUtil::kStatusChangedNotification, nullptr,
              foundation::Value::Dictionary{{"networkStatus", TallixNetworkUtil::kReachable}});
  while (queue.sync([&] { return sender->storedBlockCount() + sender->runningTaskCount(); }) > 0)
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  const std::chrono::duration<double, std::milli> elapsed = Clock::now() - start;
  std::filesystem::remove_all(directory);
  return elapsed.count();
}

}  // namespace

int main() {
  const auto storeDirectory = scratch("collector");
  TallixReportStore store(storeDirectory);
  std::ostringstream console;
  TallixCollectorServer server(store, {}, console);
  const auto port = server.bind("127.0.0.1", 0);
  if (!port) {
    std::fprintf(stderr, "no loopback port for the collector\n");
    return 1;
  }
  std::thread serving([&] { server.listen(); });

  const auto record = sessionRecordWithEvents(kEventsPerSession);
  const auto body = requestBodyFor({record});
  std::vector<double> milliseconds;
  for (int round = 0; round < kRounds; ++round)
    milliseconds.push_back(deliverOnce(*port, body));
  server.stop();
  serving.join();
  std::filesystem::remove_all(storeDirectory);

  std::printf("%d blocks of %zu-byte records, %d rounds\n", kBlocks, record.size(), kRounds);
  bench::printLatencyFigure("50 stored blocks to the collector (goal 1000 ms)", milliseconds);
  return 0;
}
