#include "LocalHttpServer.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Eventually.h"

namespace tallix {
namespace {

using namespace std::chrono_literals;

constexpr auto kLongestWait = 30s;

}  // namespace

LocalHttpServer::LocalHttpServer() {
  // More workers than the concurrency test sends at once, so none of them queues.
  server_.new_task_queue = [] { return new httplib::ThreadPool(16); };
  server_.Get(R"(/status/(\d+))", [](const httplib::Request& request, httplib::Response& response) {
    response.status = std::stoi(request.matches[1]);
    response.set_content("status " + request.matches[1].str(), "text/plain");
  });
  server_.Post("/echo", [](const httplib::Request& request, httplib::Response& response) {
    response.set_content(request.get_header_value("Content-Type") + "\n" + request.body,
                         "application/octet-stream");
  });
  server_.Get("/slow", [this](const httplib::Request&, httplib::Response& response) {
    foundation::eventually([this] { return released_.load(); }, kLongestWait);
    answeredSlowly_ = true;
    response.set_content("late", "text/plain");
  });
  server_.Get("/drop", [](const httplib::Request&, httplib::Response& response) {
    response.set_content_provider(100, "application/octet-stream",
                                  [](size_t, size_t, httplib::DataSink& sink) {
                                    sink.write("0123456789", 10);
                                    return false;
                                  });
  });
  server_.Get(R"(/gather/(\d+))",
              [this](const httplib::Request& request, httplib::Response& response) {
                gather(std::stoi(request.matches[1]), response);
              });
  port_ = server_.bind_to_any_port("127.0.0.1");
  listener_ = std::thread([this] { server_.listen_after_bind(); });
  // stop() does nothing to a server not yet listening.
  foundation::eventually([this] { return server_.is_running(); });
}

LocalHttpServer::~LocalHttpServer() {
  releaseSlowAnswers();
  server_.stop();
  listener_.join();
}

void LocalHttpServer::gather(int count, httplib::Response& response) {
  std::unique_lock lock(gatherMutex_);
  ++waiting_;
  gathered_.notify_all();
  const bool allCame = gathered_.wait_for(lock, kLongestWait, [&] { return waiting_ >= count; });
  response.status = allCame ? 200 : 503;
}

int unusedPort() {
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  bind(probe, reinterpret_cast<sockaddr*>(&address), length);
  getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length);
  close(probe);
  return ntohs(address.sin_port);
}

}  // namespace tallix
