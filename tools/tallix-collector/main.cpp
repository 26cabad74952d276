// tallix-collector: a local stand-in for the analytics server, for working on the agent and
// for integration tests.
//
//   tallix-collector --store DIR [--host HOST] [--port N] [--status N] [--delay-ms N]
//                    [--cookies key=value,...] [--config FILE] [--callback-status N]
//
// Listens on HOST (127.0.0.1) and PORT (0 takes a free one) and prints
// "listening on http://HOST:PORT" first. Each "POST /aas.do" body is checked against its
// closing CRC-32 and decoded; the JSON goes to DIR/report-NNNNNN.json and one line to standard
// output ("report 1: api key "KEY", 2 sessions, 5 events"). A body that does not read is
// stored too, with the reason, and answered 400 (415 for another content type).
//
// Accepted uploads are answered with --status (200) after --delay-ms (0), with the cookie
// chunk when --cookies names any. "POST /sdk/v1/config" is answered with the JSON document of
// --config encoded in Avro, once the request's header fields, checksum and body check out. Any
// other path takes a partner callback, answered with --callback-status (200). While it runs:
//   curl -d '{"status":500,"delayMs":2000,"cookies":{"k":"v"}}' http://HOST:PORT/control
//   curl -d '{"callbackStatus":500,"config":{...}}' http://HOST:PORT/control
//   curl http://HOST:PORT/control          the current answers
//   curl http://HOST:PORT/reports          every stored report as one JSON array
//   curl http://HOST:PORT/config-requests  every decoded configuration request
//   curl http://HOST:PORT/callbacks        every callback, in arrival order
// SIGINT or SIGTERM stops it.

#include <pthread.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <thread>

#include "tools/tallix-collector/TallixCollectorOptions.h"
#include "tools/tallix-collector/TallixCollectorServer.h"
#include "tools/tallix-collector/TallixReportStore.h"

namespace {

constexpr int kUsageError = 2;

sigset_t stopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

int serve(const tallix::TallixCollectorOptions& options) {
  tallix::TallixReportStore store(options.store);
  tallix::TallixCollectorServer server(store, options.answer, std::cout);
  const auto port = server.bind(options.host, options.port);
  if (!port) {
    std::cerr << "tallix-collector: cannot listen on " << options.host << ":" << options.port
              << "\n";
    return 1;
  }
  std::cout << "listening on http://" << options.host << ":" << *port << std::endl;
  // The signals are blocked in every thread, so only this one takes them, outside any handler.
  std::thread stopper([&server] {
    const sigset_t signals = stopSignals();
    int signal = 0;
    sigwait(&signals, &signal);
    server.stop();
  });
  server.listen();
  pthread_kill(stopper.native_handle(), SIGTERM);
  stopper.join();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const sigset_t signals = stopSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  try {
    const auto options = tallix::TallixCollectorOptions::parse(argc, argv);
    if (options.help) {
      std::cout << tallix::TallixCollectorOptions::kUsage;
      return 0;
    }
    return serve(options);
  } catch (const std::invalid_argument& error) {
    std::cerr << "tallix-collector: " << error.what() << "\n"
              << tallix::TallixCollectorOptions::kUsage;
    return kUsageError;
  } catch (const std::filesystem::filesystem_error& error) {
    std::cerr << "tallix-collector: " << error.what() << "\n";
    return 1;
  }
}
