#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace tallix {

// A plain HTTP server on 127.0.0.1 with the answers the client's tests need:
//   /status/N  answers with status N
//   /echo      answers with the request's content type, a newline and its body
//   /slow      answers only once released (or after half a minute)
//   /drop      promises a body of 100 bytes and hangs up after 10
//   /gather/N  answers 200 once N requests wait at once, 503 if they never do
class LocalHttpServer {
 public:
  LocalHttpServer();
  ~LocalHttpServer();

  std::string url(const std::string& path, const std::string& scheme = "http") const {
    return scheme + "://127.0.0.1:" + std::to_string(port_) + path;
  }
  void releaseSlowAnswers() { released_ = true; }
  bool answeredSlowly() const { return answeredSlowly_; }

 private:
  void gather(int count, httplib::Response& response);

  httplib::Server server_;
  int port_ = 0;
  std::thread listener_;
  std::atomic<bool> released_ = false;
  std::atomic<bool> answeredSlowly_ = false;
  std::mutex gatherMutex_;
  std::condition_variable gathered_;
  int waiting_ = 0;
};

// A port on 127.0.0.1 that nothing listens on.
int unusedPort();

}  // namespace tallix
