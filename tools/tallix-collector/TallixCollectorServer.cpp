#include "tools/tallix-collector/TallixCollectorServer.h"

#include <httplib.h>
#include <sys/socket.h>

#include <chrono>
#include <span>
#include <thread>

#include "tools/tallix-collector/TallixClock.h"
#include "tools/tallix-collector/TallixCookieChunk.h"
#include "tools/tallix-collector/TallixJsonText.h"
#include "tools/tallix-collector/TallixReportReader.h"
#include "tools/tallix-collector/TallixReportRejected.h"
#include "tools/tallix-collector/TallixReportStore.h"
#include "tools/tallix-collector/TallixStoredReport.h"

namespace tallix {

namespace {

constexpr const char* kBinaryType = "application/octet-stream";
// Far above any body the agent writes, low enough that a stray upload cannot fill the disk.
constexpr std::size_t kLargestBody = 64 << 20;
constexpr int kBadRequest = 400;
constexpr int kUnsupportedMediaType = 415;

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
      configEndpoint_(console_),
      callbackEndpoint_(console_),
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
    showList(store_.list().get(), response);
  });
  serveConfig();
  serveCallbacks();
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

void TallixCollectorServer::serveConfig() {
  server_->Post("/sdk/v1/config",
                [this](const httplib::Request& request, httplib::Response& response) {
                  const TallixAnswerSettings settings = currentSettings();
                  std::this_thread::sleep_for(std::chrono::milliseconds(settings.configDelayMs));
                  configEndpoint_.receive(request, response, settings.config.get());
                });
  server_->Get("/config-requests", [this](const httplib::Request&, httplib::Response& response) {
    showList(configEndpoint_.list().get(), response);
  });
}

// Registered last: httplib tries the routes in order, so these take only what no other route
// serves.
void TallixCollectorServer::serveCallbacks() {
  server_->Get("/callbacks", [this](const httplib::Request&, httplib::Response& response) {
    showList(callbackEndpoint_.list().get(), response);
  });
  const auto receive = [this](const httplib::Request& request, httplib::Response& response) {
    callbackEndpoint_.receive(request, response, currentSettings().callbackStatus);
  };
  const char* anyPath = ".*";
  server_->Get(anyPath, receive);
  server_->Post(anyPath, receive);
  server_->Put(anyPath, receive);
  server_->Patch(anyPath, receive);
  server_->Delete(anyPath, receive);
  server_->Options(anyPath, receive);
}

void TallixCollectorServer::receiveReport(const httplib::Request& request,
                                          httplib::Response& response) {
  auto [stored, rejectionStatus] = examine(request);
  keep(stored.get());
  const TallixAnswerSettings settings = currentSettings();
  std::this_thread::sleep_for(std::chrono::milliseconds(settings.delayMs));
  if (rejectionStatus) {
    response.status = rejectionStatus;
    response.set_content(
        TallixJsonText::error(json_string_value(json_object_get(stored.get(), "reason"))),
        TallixJsonText::kContentType);
    return;
  }
  response.status = settings.status;
  response.set_content(TallixCookieChunk::encode(settings.cookies), kBinaryType);
}

std::pair<TallixJson, int> TallixCollectorServer::examine(const httplib::Request& request) const {
  const auto body = bytesOf(request.body);
  const std::int64_t receivedAt = tallixNowMs();
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
  console_.line(TallixStoredReport::summary(stored) +
                (error ? " (not stored: " + error.message() + ")" : ""));
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
    response.set_content(TallixJsonText::error(*error), TallixJsonText::kContentType);
    return;
  }
  showControl(response);
}

void TallixCollectorServer::showControl(httplib::Response& response) {
  response.set_content(TallixJsonText::dumped(currentSettings().toJson().get()),
                       TallixJsonText::kContentType);
}

void TallixCollectorServer::showList(const json_t* list, httplib::Response& response) {
  response.set_content(TallixJsonText::dumped(list), TallixJsonText::kContentType);
}

TallixAnswerSettings TallixCollectorServer::currentSettings() const {
  const std::scoped_lock lock(settingsMutex_);
  return settings_;
}

}  // namespace tallix
