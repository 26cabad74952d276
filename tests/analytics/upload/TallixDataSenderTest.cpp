#include <gtest/gtest.h>

#include "TemporaryDirectory.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/upload/TallixDataSender.h"
#include "foundation/DispatchQueue.h"
#include "foundation/NotificationCenter.h"
#include "tests/analytics/FixedClock.h"
#include "tests/analytics/upload/InMemoryTransport.h"

namespace tallix {
namespace {

using Bytes = foundation::Value::Bytes;

// A sender on its own queue over a transport the test answers. Bodies are told apart by their
// one byte.
class TallixDataSenderTest : public ::testing::Test {
 protected:
  TallixDataSenderTest() {
    sender->observeNetworkStatus(center);
    queue.sync([this] { sender->setupForApiKey(directory.path(), "KEY"); });
  }

  template <typename Work>
  auto onQueue(Work work) {
    return queue.sync(work);
  }
  void send(std::uint8_t body) {
    onQueue([&] { EXPECT_TRUE(sender->sendSessionsData({body})); });
  }
  // Answers the oldest request and lets the sender hear of it.
  Bytes answer(std::optional<long> status, Bytes answer = {}) {
    const Bytes body = transport->answerOldest(status, std::move(answer));
    onQueue([] {});
    return body;
  }
  std::size_t stored() {
    return onQueue([this] { return sender->storedBlockCount(); });
  }
  void announceNetwork(int status) {
    center.post(TallixNetworkUtil::kStatusChangedNotification, nullptr,
                foundation::Value::Dictionary{{"networkStatus", status}});
    onQueue([] {});  // the news hops onto the queue; this waits for it
  }

  foundation::TemporaryDirectory directory;
  std::string serverURL = "http://collector.invalid/aas.do";  // the queue's own
  TallixGlobalVariableStorage settings{"1.0"};
  const FixedClock clock{foundation::Date::fromTimeIntervalSince1970(1700000000)};
  foundation::NotificationCenter center;
  foundation::DispatchQueue queue{"sender test"};
  TallixHttpTransport::Executor onTestQueue = [this](auto work) { queue.async(std::move(work)); };
  InMemoryTransport* transport = new InMemoryTransport(onTestQueue);
  std::shared_ptr<TallixDataSender> sender = std::make_shared<TallixDataSender>(
      onTestQueue, [this] { return serverURL; }, std::unique_ptr<TallixHttpTransport>(transport),
      settings, clock);
};

TEST_F(TallixDataSenderTest, AFailedBlockStaysUntilTheNextSuccessCarriesItAlong) {
  send(1);
  EXPECT_EQ(answer(500), Bytes{1});
  EXPECT_EQ(transport->waiting(), 0u) << "nothing goes again before a success";
  send(2);
  EXPECT_EQ(answer(std::nullopt), Bytes{2});
  EXPECT_EQ(stored(), 2u);
  EXPECT_FALSE(onQueue([this] { return sender->everSentReportSuccessfully(); }));

  send(3);
  EXPECT_EQ(answer(204), Bytes{3});
  // The success sends the failed ones again, each once.
  EXPECT_EQ(transport->waiting(), 2u);
  EXPECT_EQ(answer(200), Bytes{1});
  EXPECT_EQ(answer(200), Bytes{2});
  EXPECT_EQ(stored(), 0u);
  EXPECT_TRUE(onQueue([this] { return sender->everSentReportSuccessfully(); }));
}

TEST_F(TallixDataSenderTest, NineRequestsRunAtOnceAndTheTenthWaitsForASlot) {
  for (std::uint8_t body = 1; body <= 10; ++body)
    send(body);
  EXPECT_EQ(transport->waiting(), TallixDataSender::kTasksWindow);
  EXPECT_EQ(stored(), 10u);
  answer(200);
  EXPECT_EQ(transport->waiting(), TallixDataSender::kTasksWindow);
  while (transport->waiting() > 0)
    answer(200);
  EXPECT_EQ(stored(), 0u);
}

TEST_F(TallixDataSenderTest, TheNetworkComingBackRetransmitsUnlessTheUserOptedOut) {
  send(3);
  answer(503);
  announceNetwork(TallixNetworkUtil::kNotReachable);
  EXPECT_EQ(transport->waiting(), 0u);
  announceNetwork(TallixNetworkUtil::kReachable);
  EXPECT_EQ(answer(200), Bytes{3});

  send(4);
  answer(503);
  settings.setOptOut(true);
  announceNetwork(TallixNetworkUtil::kReachable);
  EXPECT_EQ(transport->waiting(), 0u);
  EXPECT_EQ(stored(), 0u) << "what was stored before the opt-out is gone";
}

TEST_F(TallixDataSenderTest, CookiesOfTheAnswerAreKept) {
  send(1);
  // Type 0x11E, a 32-bit value, two unused bytes, one entry: "visit" = "42".
  answer(200, {0x01, 0x1E, 0, 0, 0, 9, 0, 0, 0, 1, 0, 5, 'v', 'i', 's', 'i', 't', 0, 2, '4', '2'});
  EXPECT_EQ(settings.persistentCookiesMap().valueForKey("visit"), foundation::Value("42"));
}

TEST_F(TallixDataSenderTest, WithoutAServerBlocksStayStoredUpToTheLimitNewestKept) {
  onQueue([this] { serverURL.clear(); });
  for (int body = 1; body <= 51; ++body)
    send(static_cast<std::uint8_t>(body));
  EXPECT_EQ(transport->waiting(), 0u);
  EXPECT_EQ(stored(), TallixDataSenderIndex::kMaxBlocksPerDataKey);

  // The oldest went: what is left, sent once a server is known, starts at the second.
  onQueue([this] { serverURL = "http://collector.invalid/aas.do"; });
  announceNetwork(TallixNetworkUtil::kReachable);
  EXPECT_EQ(transport->waiting(), TallixDataSender::kTasksWindow);
  EXPECT_EQ(answer(200), Bytes{2});
}

}  // namespace
}  // namespace tallix
