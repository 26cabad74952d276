#include <curl/curl.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "LocalHttpServer.h"
#include "analytics/core/net/TallixHttpAsyncTask.h"
#include "analytics/core/net/TallixHttpClient.h"
#include "foundation/DispatchQueue.h"

namespace tallix {
namespace {

using namespace std::chrono_literals;
using Bytes = foundation::Value::Bytes;

struct Outcome {
  enum Kind { Success, Failure, Cancel } kind;
  long status = 0;
  std::string body = {};
  TallixHttpError error = {};
  bool onAgentQueue = false;
};

// Writes down every call it hears, and on which thread.
class RecordingDelegate : public TallixHttpTaskDelegate {
 public:
  explicit RecordingDelegate(const foundation::DispatchQueue& agentQueue)
      : agentQueue_(agentQueue) {}

  void requestSuccessful(const Task&, const TallixHTTPResponse& response) override {
    record(Outcome::Success, response, {});
  }
  void requestDidFail(const Task&, const TallixHTTPResponse& response,
                      const TallixHttpError& error) override {
    record(Outcome::Failure, response, error);
  }
  void requestDidCancel(const Task&, const TallixHTTPResponse& response) override {
    record(Outcome::Cancel, response, {});
  }

  // The first `count` outcomes, or as many as came within the limit.
  std::vector<Outcome> waitFor(std::size_t count) {
    std::unique_lock lock(mutex_);
    heard_.wait_for(lock, 20s, [&] { return outcomes_.size() >= count; });
    return outcomes_;
  }

 private:
  void record(Outcome::Kind kind, const TallixHTTPResponse& response, TallixHttpError error) {
    std::lock_guard lock(mutex_);
    outcomes_.push_back({kind, response.statusCode(),
                         std::string(response.body().begin(), response.body().end()),
                         std::move(error), agentQueue_.isCurrent()});
    heard_.notify_all();
  }

  const foundation::DispatchQueue& agentQueue_;
  std::mutex mutex_;
  std::condition_variable heard_;
  std::vector<Outcome> outcomes_;
};

std::vector<Outcome::Kind> kindsOf(const std::vector<Outcome>& outcomes) {
  std::vector<Outcome::Kind> kinds;
  for (const Outcome& outcome : outcomes)
    kinds.push_back(outcome.kind);
  return kinds;
}

class TallixHttpClientTest : public ::testing::Test {
 protected:
  Outcome send(const std::string& url, std::chrono::milliseconds timeout = 20s) {
    auto heard = std::make_shared<RecordingDelegate>(agentQueue);
    TallixHttpAsyncTask::sendMethod(*client, "GET", url, {}, {}, heard, true, timeout);
    return onlyOutcome(*heard);
  }
  // Every outcome must come through the agent queue.
  static Outcome onlyOutcome(RecordingDelegate& heard) {
    const auto outcomes = heard.waitFor(1);
    if (outcomes.size() != 1) {
      ADD_FAILURE() << outcomes.size() << " outcomes";
      return {Outcome::Cancel};
    }
    EXPECT_TRUE(outcomes[0].onAgentQueue);
    return outcomes[0];
  }

  LocalHttpServer server;
  foundation::DispatchQueue agentQueue{"test.agent"};
  std::unique_ptr<TallixHttpClient> client = std::make_unique<TallixHttpClient>(
      [this](TallixHttpClient::Work work) { agentQueue.async(std::move(work)); });
  std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>(agentQueue);
};

TEST_F(TallixHttpClientTest, StatusesFrom200To299SucceedAndOthersFailWithTheLoadError) {
  // 204 last: the test server sends it a body, which would spoil the kept connection.
  for (const long status : {200L, 302L, 404L, 500L, 204L}) {
    SCOPED_TRACE(status);
    const Outcome outcome = send(server.url("/status/" + std::to_string(status)));
    EXPECT_EQ(outcome.status, status);
    if (status < 300) {
      EXPECT_EQ(outcome.kind, Outcome::Success);
      EXPECT_EQ(outcome.body, status == 204 ? "" : "status 200");
    } else {  // 302 too: an answer by the response's own measure, but no success of the request
      EXPECT_EQ(outcome.kind, Outcome::Failure);
      EXPECT_EQ(outcome.error.domain, "Failed to load url");
      EXPECT_EQ(outcome.error.code, 4);
    }
  }
}

TEST_F(TallixHttpClientTest, ExchangesThatGetNoAnswerFailWithCurlsErrorOrEndWithTheClient) {
  const std::tuple<std::string, std::chrono::milliseconds, CURLcode> cases[] = {
      {"http://127.0.0.1:" + std::to_string(unusedPort()) + "/", 20s, CURLE_COULDNT_CONNECT},
      {server.url("/slow"), 200ms, CURLE_OPERATION_TIMEDOUT},
      {server.url("/drop"), 20s, CURLE_PARTIAL_FILE},
      // TLS stays on: a plain server cannot pass for a secure one.
      {server.url("/status/200", "https"), 20s, CURLE_SSL_CONNECT_ERROR},
  };
  for (const auto& [url, timeout, code] : cases) {
    SCOPED_TRACE(url);
    const Outcome failed = send(url, timeout);
    EXPECT_EQ(failed.kind, Outcome::Failure);
    EXPECT_EQ(failed.error.domain, "libcurl");
    EXPECT_EQ(failed.error.code, code) << failed.error.message;
    EXPECT_FALSE(failed.error.message.empty());
  }
  // Destroying the client cancels what still runs, without waiting for its answer.
  TallixHttpAsyncTask::get(*client, server.url("/slow"), delegate);
  client.reset();
  EXPECT_EQ(onlyOutcome(*delegate).kind, Outcome::Cancel);
  EXPECT_FALSE(server.answeredSlowly());
}

TEST_F(TallixHttpClientTest, PostsTheBodyBytesAndHeaderFields) {
  const Bytes report = {0x01, 0x00, 0x1e, 0xff};
  TallixHttpAsyncTask::post(*client, server.url("/echo"), report, delegate,
                            {{"content-type", "application/octet-stream"}});
  EXPECT_EQ(onlyOutcome(*delegate).body,
            "application/octet-stream\n" + std::string(report.begin(), report.end()));
}

TEST_F(TallixHttpClientTest, NineRequestsRunAtOnceAndAllComplete) {
  // The server answers only once all nine wait together.
  for (int i = 0; i < 9; ++i)
    TallixHttpAsyncTask::get(*client, server.url("/gather/9"), delegate);
  EXPECT_EQ(kindsOf(delegate->waitFor(9)), std::vector(9, Outcome::Success));
}

TEST_F(TallixHttpClientTest, ACancelledTaskOrAGoneDelegateHearsNothingMore) {
  auto running = TallixHttpAsyncTask::get(*client, server.url("/slow"), delegate);
  running->cancelTask();
  running->cancelTask();
  server.releaseSlowAnswers();

  auto unstarted = TallixHttpAsyncTask::sendMethod(*client, "GET", server.url("/status/200"), {},
                                                   {}, delegate, false);
  unstarted->cancelTask();
  unstarted->start();

  auto finished = TallixHttpAsyncTask::get(*client, server.url("/status/200"), delegate);
  delegate->waitFor(3);
  finished->cancelTask();

  auto gone = std::make_shared<RecordingDelegate>(agentQueue);
  TallixHttpAsyncTask::get(*client, server.url("/status/500"), gone);
  gone.reset();

  // Any stray answer to the tasks above would reach the agent queue before a later request's.
  EXPECT_EQ(send(server.url("/status/200")).kind, Outcome::Success);
  EXPECT_EQ(kindsOf(delegate->waitFor(0)),
            (std::vector{Outcome::Cancel, Outcome::Cancel, Outcome::Success}));
}

}  // namespace
}  // namespace tallix
