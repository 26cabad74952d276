#include <curl/curl.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "Eventually.h"
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

  std::vector<Outcome> heard() {
    std::lock_guard lock(mutex_);
    return outcomes_;
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

class TallixHttpClientTest : public ::testing::Test {
 protected:
  // One request's outcome; every outcome must come through the agent queue.
  Outcome send(const std::string& url, std::chrono::milliseconds timeout = 20s) {
    auto delegate = std::make_shared<RecordingDelegate>(agentQueue);
    TallixHttpAsyncTask::sendMethod(*client, "GET", url, {}, {}, delegate, true, timeout);
    const auto outcomes = delegate->waitFor(1);
    EXPECT_EQ(outcomes.size(), 1u);
    return outcomes.empty() ? Outcome{Outcome::Cancel} : outcomes.front();
  }

  LocalHttpServer server;
  foundation::DispatchQueue agentQueue{"test.agent"};
  std::unique_ptr<TallixHttpClient> client = std::make_unique<TallixHttpClient>(
      [this](TallixHttpClient::Work work) { agentQueue.async(std::move(work)); });
  std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>(agentQueue);
};

TEST_F(TallixHttpClientTest, StatusesFrom200To299SucceedWithTheirBody) {
  const Outcome ok = send(server.url("/status/200"));
  EXPECT_EQ(ok.kind, Outcome::Success);
  EXPECT_EQ(ok.body, "status 200");
  EXPECT_TRUE(ok.onAgentQueue);

  const Outcome noContent = send(server.url("/status/204"));
  EXPECT_EQ(noContent.kind, Outcome::Success);
  EXPECT_EQ(noContent.status, 204);
  EXPECT_EQ(noContent.body, "");
}

TEST_F(TallixHttpClientTest, PostsTheBodyBytesAndHeaderFields) {
  const Bytes report = {0x01, 0x00, 0x1e, 0xff};
  TallixHttpAsyncTask::post(*client, server.url("/echo"), report, delegate,
                            {{"content-type", "application/octet-stream"}});
  const auto outcomes = delegate->waitFor(1);
  ASSERT_EQ(outcomes.size(), 1u);
  EXPECT_EQ(outcomes[0].kind, Outcome::Success);
  EXPECT_EQ(outcomes[0].body,
            "application/octet-stream\n" + std::string(report.begin(), report.end()));
}

TEST_F(TallixHttpClientTest, OtherStatusesFailWithTheLoadError) {
  // 302 is an answer by the response's own measure, but not a success of the request.
  for (const int status : {500, 404, 302}) {
    SCOPED_TRACE(status);
    const Outcome failed = send(server.url("/status/" + std::to_string(status)));
    EXPECT_EQ(failed.kind, Outcome::Failure);
    EXPECT_EQ(failed.status, status);
    EXPECT_EQ(failed.error.domain, "Failed to load url");
    EXPECT_EQ(failed.error.code, 4);
    EXPECT_TRUE(failed.onAgentQueue);
  }
}

TEST_F(TallixHttpClientTest, ExchangesThatGetNoAnswerFailWithCurlsError) {
  struct Case {
    const char* what;
    std::string url;
    std::chrono::milliseconds timeout;
    CURLcode code;
  };
  const Case cases[] = {
      {"refused", "http://127.0.0.1:" + std::to_string(unusedPort()) + "/", 20s,
       CURLE_COULDNT_CONNECT},
      {"timed out", server.url("/slow"), 200ms, CURLE_OPERATION_TIMEDOUT},
      {"dropped", server.url("/drop"), 20s, CURLE_PARTIAL_FILE},
      // TLS stays on: a plain server cannot pass for a secure one.
      {"not TLS", server.url("/status/200", "https"), 20s, CURLE_SSL_CONNECT_ERROR},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.what);
    const Outcome failed = send(each.url, each.timeout);
    EXPECT_EQ(failed.kind, Outcome::Failure);
    EXPECT_EQ(failed.error.domain, "libcurl");
    EXPECT_EQ(failed.error.code, each.code) << failed.error.message;
    EXPECT_FALSE(failed.error.message.empty());
    EXPECT_TRUE(failed.onAgentQueue);
  }
  EXPECT_FALSE(server.answeredSlowly());
}

TEST_F(TallixHttpClientTest, NineRequestsRunAtOnceAndAllComplete) {
  // The server answers only once all nine wait together.
  for (int i = 0; i < 9; ++i)
    TallixHttpAsyncTask::get(*client, server.url("/gather/9"), delegate);
  const auto outcomes = delegate->waitFor(9);
  ASSERT_EQ(outcomes.size(), 9u);
  for (const Outcome& outcome : outcomes) {
    EXPECT_EQ(outcome.kind, Outcome::Success);
    EXPECT_TRUE(outcome.onAgentQueue);
  }
}

TEST_F(TallixHttpClientTest, ACancelledTaskHearsOnlyItsCancel) {
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

  // Any stray answer to the tasks above would reach the agent queue before a later request's.
  EXPECT_EQ(send(server.url("/status/200")).kind, Outcome::Success);
  const auto outcomes = delegate->heard();
  ASSERT_EQ(outcomes.size(), 3u);
  EXPECT_EQ(outcomes[0].kind, Outcome::Cancel);
  EXPECT_EQ(outcomes[1].kind, Outcome::Cancel);
  EXPECT_EQ(outcomes[2].kind, Outcome::Success);
  EXPECT_TRUE(outcomes[0].onAgentQueue);
}

TEST_F(TallixHttpClientTest, DestroyingTheClientCancelsWhatStillRuns) {
  TallixHttpAsyncTask::get(*client, server.url("/slow"), delegate);
  client.reset();
  const auto outcomes = delegate->waitFor(1);
  ASSERT_EQ(outcomes.size(), 1u);
  EXPECT_EQ(outcomes[0].kind, Outcome::Cancel);
  EXPECT_FALSE(server.answeredSlowly());
}

TEST_F(TallixHttpClientTest, AnAnswerForADelegateThatIsGoneIsDropped) {
  TallixHttpAsyncTask::get(*client, server.url("/status/500"), delegate);
  delegate.reset();
  EXPECT_EQ(send(server.url("/status/200")).kind, Outcome::Success);
}

}  // namespace
}  // namespace tallix
