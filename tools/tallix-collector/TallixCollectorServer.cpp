#include "tools/tallix-collector/TallixCollectorServer.h"

#include <httplib.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdlib>
#include <span>
#include <thread>

#include "tools/tallix-collector/TallixCookieChunk.h"
#include "tools/tallix-collector/TallixReportReader.h"
#include "tools/tallix-collector/TallixReportRejected.h"
#include "tools/tallix-collector/TallixReportStore.h"
#include "tools/tallix-collector/TallixStoredReport.h"

namespace tallix {

namespace {

constexpr const char* kBinaryType = "application/octet-stream";
constexpr const char* kJsonType = "application/json";
// Far above any body the agent writes, low enough that a stray upload cannot fill the disk.
constexpr std::size_t kLargestBody = 64 << 20;
constexpr int kBadRequest = 400;
constexpr int kUnsupportedMediaType = 415;

std::int64_t nowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::string dumped(const json_t* json) {
  const std::unique_ptr<char, decltype(&std::free)> text(json_dumps(json, JSON_INDENT(2)),
                                                         &std::free);
  return text ? std::string(text.get()) + "\n" : std::string();
}

std::string errorBody(const std::string& reason) {
  const TallixJson error(json_pack("{s:s%}", "error", reason.data(), reason.size()));
  return dumped(error.get());
}

// Parameters such as "; charset=binary" do not change what the body is.
std::string mediaType(const httplib::Request& request) {
  const std::string type = request.get_header_value("Content-Type");
  return type.substr(0, type.find(';'));
}

std::span<const std::uint8_t> bytesOf(const std::string& body) {
  return {reinterpret_cast<const std::uint8_t*>(body.data()), body.size()};
}

}  // namespace

TallixCollectorServer::TallixCollectorServer(TallixReportStore& store,
                                             TallixAnswerSettings settings, std::ostream& console)
    : store_(store),
      console_(console),
      server_(std::make_unique<httplib::Server>()),
      settings_(std::move(settings)) {
  server_->set_payload_max_length(kLargestBody);
  server_->set_socket_options([this](int socket) {
    httplib::default_socket_options(socket);
    listeningSocket_ = socket;
  });
  server_->Post("/aas.do", [this](const httplib::Request& request, httplib::Response& response) {
    receiveReport(request, response);
  });
  server_->Post("/control", [this](const httplib::Request& request, httplib::Response& response) {
    control(request, response);
  });
  server_->Get("/control", [this](const httplib::Request&, httplib::Response& response) {
    showControl(response);
  });
  server_->Get("/reports", [this](const httplib::Request&, httplib::Response& response) {
    listReports(response);
  });
}

TallixCollectorServer::~TallixCollectorServer() = default;

std::optional<int> TallixCollectorServer::bind(const std::string& host, int port) {
  const int bound = port == 0 ? server_->bind_to_any_port(host.c_str())
                              : (server_->bind_to_port(host.c_str(), port) ? port : -1);
  if (bound <= 0)
    return std::nullopt;
  // The library listens with a backlog of 5. The agent opens up to nine connections at once,
  // and each one the kernel drops waits a second for its retry; listening again raises it.
  ::listen(listeningSocket_, SOMAXCONN);
  return bound;
}

void TallixCollectorServer::listen() {
  if (!stopRequested_)
    server_->listen_after_bind();
  listenReturned_ = true;
}

// httplib ignores a stop that comes before it runs, so wait until it runs or will not run.
void TallixCollectorServer::stop() {
  stopRequested_ = true;
  while (!listenReturned_) {
    if (server_->is_running()) {
      server_->stop();
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

void TallixCollectorServer::receiveReport(const httplib::Request& request,
                                          httplib::Response& response) {
  auto [stored, rejectionStatus] = examine(request);
  keep(stored.get());
  const TallixAnswerSettings settings = currentSettings();
  std::this_thread::sleep_for(std::chrono::milliseconds(settings.delayMs));
  if (rejectionStatus) {
    response.status = rejectionStatus;
    response.set_content(errorBody(json_string_value(json_object_get(stored.get(), "reason"))),
                         kJsonType);
    return;
  }
  response.status = settings.status;
  response.set_content(TallixCookieChunk::encode(settings.cookies), kBinaryType);
}

std::pair<TallixJson, int> TallixCollectorServer::examine(const httplib::Request& request) const {
  const auto body = bytesOf(request.body);
  const std::int64_t receivedAt = nowMs();
  const std::string type = mediaType(request);
  if (type != kBinaryType) {
    return {TallixStoredReport::rejected("content-type \"" + type + "\", not " + kBinaryType, body,
                                         receivedAt),
            kUnsupportedMediaType};
  }
  try {
    return {TallixStoredReport::accepted(TallixReportReader::read(body), body, receivedAt), 0};
  } catch (const TallixReportRejected& rejection) {
    return {TallixStoredReport::rejected(rejection.what(), body, receivedAt), kBadRequest};
  }
}

void TallixCollectorServer::keep(json_t* stored) {
  const std::error_code error = store_.save(stored);
  const std::scoped_lock lock(consoleMutex_);
  console_ << TallixStoredReport::summary(stored);
  if (error)
    console_ << " (not stored: " << error.message() << ")";
  console_ << std::endl;
}

void TallixCollectorServer::control(const httplib::Request& request, httplib::Response& response) {
  const TallixJson body(json_loadb(request.body.data(), request.body.size(), 0, nullptr));
  std::optional<std::string> error;
  {
    const std::scoped_lock lock(settingsMutex_);
    error = body ? settings_.apply(body.get()) : "the control body is not JSON";
  }
  if (error) {
    response.status = kBadRequest;
    response.set_content(errorBody(*error), kJsonType);
    return;
  }
  showControl(response);
}

void TallixCollectorServer::showControl(httplib::Response& response) {
  response.set_content(dumped(currentSettings().toJson().get()), kJsonType);
}

void TallixCollectorServer::listReports(httplib::Response& response) {
  response.set_content(dumped(store_.list().get()), kJsonType);
}

TallixAnswerSettings TallixCollectorServer::currentSettings() const {
  const std::scoped_lock lock(settingsMutex_);
  return settings_;
}

}  // namespace tallix
