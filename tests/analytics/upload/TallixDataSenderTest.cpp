#include <gtest/gtest.h>

#include "Eventually.h"
#include "TemporaryDirectory.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/upload/TallixDataSender.h"
#include "foundation/DispatchQueue.h"
#include "foundation/NotificationCenter.h"
#include "tests/analytics/upload/BodyWriterDelegate.h"
#include "tests/tools/JsonPath.h"
#include "tests/tools/RunningCollector.h"
#include "tests/tools/TestSessionRecord.h"

namespace tallix {
namespace {

using foundation::eventually;
using Bytes = foundation::Value::Bytes;

// A sender on its own queue posting to a local collector. Records are told apart by the
// number of events they hold.
class TallixDataSenderTest : public ::testing::Test {
 protected:
  TallixDataSenderTest() {
    sender->observeNetworkStatus(center);
    queue.sync([this] {
      sender->setupForApiKey(directory.path(), "KEY");
      sender->setDataSenderDelegate(delegate);
    });
  }

  template <typename Work>
  auto onQueue(Work work) {
    return queue.sync(work);
  }
  void send(int events) {
    onQueue([&] { EXPECT_TRUE(sender->sendSessionsData(sessionRecordWithEvents(events))); });
  }
  std::size_t stored() {
    return onQueue([this] { return sender->storedBlockCount(); });
  }
  std::size_t running() {
    return onQueue([this] { return sender->runningTaskCount(); });
  }
  bool settled() {
    return eventually([this] { return running() == 0; });
  }
  // The event count of every session the collector received, in the order it stored them.
  std::vector<json_int_t> received() {
    std::vector<json_int_t> counts;
    const TallixJson reports = collector.reports();
    for (std::size_t report = 0; report < json_array_size(reports.get()); ++report) {
      const auto events = std::to_string(report) + "/body/sessions/0/events";
      counts.push_back(static_cast<json_int_t>(json_array_size(jsonAt(reports.get(), events))));
    }
    return counts;
  }
  void announceNetwork(int status) {
    center.post(TallixNetworkUtil::kStatusChangedNotification, nullptr,
                foundation::Value::Dictionary{{"networkStatus", status}});
    onQueue([] {});  // the news hops onto the queue; this waits for it
  }

  foundation::TemporaryDirectory directory;
  RunningCollector collector;
  std::string serverURL = "http://" + collector.host() + "/aas.do";  // the queue's own
  TallixGlobalVariableStorage settings{"1.0"};
  const FixedClock clock{foundation::Date::fromTimeIntervalSince1970(1700000000)};
  foundation::NotificationCenter center;
  foundation::DispatchQueue queue{"sender test"};
  std::shared_ptr<BodyWriterDelegate> delegate = std::make_shared<BodyWriterDelegate>(settings);
  std::shared_ptr<TallixDataSender> sender =
      std::make_shared<TallixDataSender>([this](auto work) { queue.async(std::move(work)); },
                                         [this] { return serverURL; }, settings, clock);
};

TEST_F(TallixDataSenderTest, FailedBlockStaysUntilTheNextSuccessCarriesItAlong) {
  collector.control(R"({"status":500})");
  send(1);
  ASSERT_TRUE(settled());
  EXPECT_EQ(stored(), 1u);
  EXPECT_FALSE(onQueue([this] { return sender->everSentReportSuccessfully(); }));

  collector.control(R"({"status":204})");
  send(2);
  ASSERT_TRUE(eventually([this] { return stored() == 0 && running() == 0; }));
  EXPECT_TRUE(onQueue([this] { return sender->everSentReportSuccessfully(); }));
  EXPECT_EQ(received(), (std::vector<json_int_t>{1, 2, 1}));
}

TEST_F(TallixDataSenderTest, NineRequestsRunAtOnceAndTheTenthWaitsForASlot) {
  collector.control(R"({"delayMs":400})");
  for (int events = 1; events <= 10; ++events)
    send(events);
  EXPECT_EQ(running(), TallixDataSender::kTasksWindow);
  EXPECT_EQ(stored(), 10u);

  ASSERT_TRUE(eventually([this] { return stored() == 0 && running() == 0; }));
  // Each block went exactly once: retransmission after a success skips blocks in flight.
  auto counts = received();
  std::ranges::sort(counts);
  EXPECT_EQ(counts, (std::vector<json_int_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST_F(TallixDataSenderTest, NetworkComingBackRetransmitsWhatFailed) {
  collector.control(R"({"status":503})");
  send(3);
  ASSERT_TRUE(settled());
  collector.control(R"({"status":200})");

  announceNetwork(TallixNetworkUtil::kNotReachable);
  EXPECT_EQ(running(), 0u);
  announceNetwork(TallixNetworkUtil::kReachable);
  ASSERT_TRUE(eventually([this] { return stored() == 0 && running() == 0; }));
  EXPECT_EQ(received(), (std::vector<json_int_t>{3, 3}));
}

TEST_F(TallixDataSenderTest, CookiesOfTheAnswerGoBackWithTheNextBody) {
  collector.control(R"({"cookies":{"visit":"42"}})");
  send(1);
  ASSERT_TRUE(settled());
  EXPECT_EQ(settings.persistentCookiesMap().valueForKey("visit"), foundation::Value("42"));

  send(2);
  ASSERT_TRUE(settled());
  const TallixJson reports = collector.reports();
  EXPECT_EQ(json_array_size(jsonAt(reports.get(), "0/body/cookies")), 0u);
  EXPECT_EQ(jsonText(reports.get(), "1/body/cookies/0/key"), "visit");
  EXPECT_EQ(jsonText(reports.get(), "1/body/cookies/0/value"), "42");
}

TEST_F(TallixDataSenderTest, WithoutAServerBlocksStayStoredUpToTheLimitNewestKept) {
  onQueue([this] { serverURL.clear(); });
  for (int events = 1; events <= 51; ++events)
    send(events);
  EXPECT_EQ(running(), 0u);
  EXPECT_EQ(stored(), TallixDataSenderIndex::kMaxBlocksPerDataKey);

  // The oldest went: what is left, sent once a server is known, starts at the second.
  onQueue([this] { serverURL = "http://" + collector.host() + "/aas.do"; });
  announceNetwork(TallixNetworkUtil::kReachable);
  ASSERT_TRUE(eventually([this] { return stored() == 0 && running() == 0; }));
  auto counts = received();
  std::ranges::sort(counts);
  EXPECT_EQ(counts.size(), 50u);
  EXPECT_EQ(counts.front(), 2);
}

}  // namespace
}  // namespace tallix
