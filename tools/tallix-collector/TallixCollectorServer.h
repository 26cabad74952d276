#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>

#include "tools/tallix-collector/TallixAnswerSettings.h"
#include "tools/tallix-collector/TallixCallbackEndpoint.h"
#include "tools/tallix-collector/TallixConfigEndpoint.h"
#include "tools/tallix-collector/TallixConsole.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace tallix {

class TallixReportStore;

// The collector's HTTP side: "POST /aas.do" takes uploads, "POST /sdk/v1/config" hands out the
// configuration, any other path stands in for a partner callback. "POST /control" changes the
// answers while it runs (GET shows them); "GET /reports", "GET /config-requests" and
// "GET /callbacks" list what arrived.
class TallixCollectorServer {
 public:
  TallixCollectorServer(TallixReportStore& store, TallixAnswerSettings settings,
                        std::ostream& console);
  ~TallixCollectorServer();

  // The port now bound, or nothing; port 0 takes a free one.
  std::optional<int> bind(const std::string& host, int port);
  // Serves until stop() is called from another thread, even one called before listen().
  void listen();
  void stop();

 private:
  void receiveReport(const httplib::Request& request, httplib::Response& response);
  void control(const httplib::Request& request, httplib::Response& response);
  void showControl(httplib::Response& response);
  void serveConfig();
  void serveCallbacks();
  static void showList(const json_t* list, httplib::Response& response);
  // The decoded report, or the rejection and the status that tells the agent so.
  std::pair<TallixJson, int> examine(const httplib::Request& request) const;
  void keep(json_t* stored);
  TallixAnswerSettings currentSettings() const;

  TallixReportStore& store_;
  TallixConsole console_;
  TallixConfigEndpoint configEndpoint_;
  TallixCallbackEndpoint callbackEndpoint_;
  std::unique_ptr<httplib::Server> server_;
  int listeningSocket_ = -1;
  mutable std::mutex settingsMutex_;
  TallixAnswerSettings settings_;
  std::atomic<bool> stopRequested_ = false;
  std::atomic<bool> listenReturned_ = false;
};

}  // namespace tallix
