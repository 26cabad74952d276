#pragma once

#include <gtest/gtest.h>
#include <httplib.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "tools/tallix-collector/TallixCollectorServer.h"
#include "tools/tallix-collector/TallixReportStore.h"

namespace tallix {

// The local collector serving on a free loopback port, on its own thread, storing into a
// fresh directory named after the running test. Gone with everything it stored.
class RunningCollector {
 public:
  explicit RunningCollector(TallixAnswerSettings settings = {})
      : server_(store_, std::move(settings), console_) {
    const auto port = server_.bind("127.0.0.1", 0);
    EXPECT_TRUE(port) << "no loopback port for the collector";
    port_ = port.value_or(0);
    serving_ = std::thread([this] { server_.listen(); });
    client_ = std::make_unique<httplib::Client>("127.0.0.1", port_);
  }
  ~RunningCollector() {
    stop();
    std::filesystem::remove_all(directory_);
  }

  int port() const { return port_; }
  std::string host() const { return "127.0.0.1:" + std::to_string(port_); }
  httplib::Client& client() { return *client_; }

  // Changes how uploads are answered, as a JSON control body.
  void control(const std::string& json) {
    const auto answer = client_->Post("/control", json, "application/json");
    ASSERT_TRUE(answer && answer->status == 200) << "control refused: " << json;
  }
  TallixJson reports() {
    const auto listed = client_->Get("/reports");
    EXPECT_TRUE(listed && listed->status == 200);
    const std::string text = listed ? listed->body : "";
    return TallixJson(json_loadb(text.data(), text.size(), 0, nullptr));
  }
  // Joins every handler thread, so what they printed can be read safely.
  void stop() {
    if (serving_.joinable()) {
      server_.stop();
      serving_.join();
    }
  }
  std::string console() const { return console_.str(); }

 private:
  static std::filesystem::path freshDirectory() {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    const auto directory = std::filesystem::temp_directory_path() /
                           ("tallix-collector-" + std::to_string(::getpid()) + "-" +
                            test->test_suite_name() + "-" + test->name());
    std::filesystem::remove_all(directory);
    return directory;
  }

  std::filesystem::path directory_ = freshDirectory();
  TallixReportStore store_{directory_};
  std::ostringstream console_;
  TallixCollectorServer server_;
  int port_ = 0;
  std::thread serving_;
  std::unique_ptr<httplib::Client> client_;
};

}  // namespace tallix
