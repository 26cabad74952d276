#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "Eventually.h"
#include "PrivateServer.h"
#include "foundation/NotificationCenter.h"
#include "platform/RouteList.h"

namespace platform {
namespace {

using namespace std::chrono_literals;
using foundation::eventually;
using ::testing::HasSubstr;

constexpr const char* kSecond = "orvane_second_output";
constexpr const char* kSecondDescription = "Orvane Second Output";
constexpr const char* kThird = "orvane_third_output";

// The routes the list held at each change notification, as an observer saw them.
class RouteChanges {
 public:
  explicit RouteChanges(RouteList& list) {
    foundation::NotificationCenter::defaultCenter().addObserver(
        std::string(RouteList::kRoutesChangedNotification), this,
        [this, &list](const foundation::Notification&) {
          auto routes = list.routes();
          std::lock_guard lock(mutex_);
          seen_.push_back(std::move(routes));
        },
        &list);
  }
  ~RouteChanges() { foundation::NotificationCenter::defaultCenter().removeObserver(this); }

  std::size_t count() const {
    std::lock_guard lock(mutex_);
    return seen_.size();
  }
  std::vector<RouteListEntry> last() const {
    std::lock_guard lock(mutex_);
    return seen_.empty() ? std::vector<RouteListEntry>{} : seen_.back();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::vector<RouteListEntry>> seen_;
};

std::optional<RouteListEntry> find(const std::vector<RouteListEntry>& routes,
                                   const std::string& name) {
  const auto found = std::find_if(routes.begin(), routes.end(),
                                  [&](const RouteListEntry& route) { return route.name == name; });
  return found == routes.end() ? std::nullopt : std::optional(*found);
}

bool isDefault(const std::vector<RouteListEntry>& routes, const std::string& name) {
  const auto route = find(routes, name);
  return route && route->isDefault;
}

// Nothing while the completion has not run within the limit.
std::optional<bool> choose(RouteList& list, const std::string& sink, const std::string& port = {},
                           std::chrono::milliseconds limit = 10s) {
  // Shared, so a late answer after a timed-out wait has somewhere to go; a second answer
  // throws from set_value.
  auto answer = std::make_shared<std::promise<bool>>();
  auto accepted = answer->get_future();
  list.choose(sink, port, [answer, caller = std::this_thread::get_id()](bool value) {
    EXPECT_NE(std::this_thread::get_id(), caller) << "the completion ran inside choose()";
    answer->set_value(value);
  });
  if (accepted.wait_for(limit) != std::future_status::ready)
    return std::nullopt;
  return accepted.get();
}

using RouteListTest = PrivateServerTest;

TEST_F(RouteListTest, PostsEachSinkThatComesChangesOrGoes) {
  const std::string original = pactl("get-default-sink");
  RouteList list;
  RouteChanges changes(list);
  const auto before = list.routes();
  EXPECT_EQ(find(before, original),
            (RouteListEntry{original, "Orvane Test Output", "Orvane Test Output", {}, "", true}));

  const std::string module = loadNullSink(kSecond, kSecondDescription);
  EXPECT_TRUE(eventually([&] { return find(changes.last(), kSecond).has_value(); }));
  EXPECT_EQ(find(list.routes(), kSecond),
            (RouteListEntry{kSecond, kSecondDescription, kSecondDescription, {}, "", false}));
  EXPECT_EQ(list.routes().size(), before.size() + 1);

  // A volume change is no change of the list; a new default is.
  pactl(std::string("set-sink-volume ") + kSecond + " 50%");
  pactl(std::string("set-default-sink ") + kSecond);
  EXPECT_TRUE(eventually([&] { return isDefault(changes.last(), kSecond); }));
  EXPECT_FALSE(isDefault(changes.last(), original));
  pactl("set-default-sink " + original);
  EXPECT_TRUE(eventually([&] { return isDefault(changes.last(), original); }));

  unloadModule(module);
  EXPECT_TRUE(eventually([&] { return changes.last() == before; }));
  // The first answer, the volume and the server's follow-up events posted nothing.
  EXPECT_EQ(changes.count(), 4u);
}

TEST_F(RouteListTest, ChoosingMakesTheDefaultAndMovesThePlayingStreams) {
  loadNullSink(kSecond, kSecondDescription);
  loadNullSink(kThird, "Orvane Third Output");
  startStream();
  ASSERT_TRUE(eventually([] { return streamSinks().size() == 1; }));
  // Moved by hand, the stream prefers the third sink: the server would not move it to a new
  // default of its own accord.
  pactl("move-sink-input " + run("pactl list short sink-inputs | cut -f1") + ' ' + kThird);
  RouteList list;
  RouteChanges changes(list);

  EXPECT_EQ(choose(list, kSecond), true);
  EXPECT_EQ(pactl("get-default-sink"), kSecond);
  EXPECT_EQ(streamSinks(), std::vector{sinkIndex(kSecond)});
  EXPECT_TRUE(eventually([&] { return isDefault(changes.last(), kSecond); }));
  const auto routes = changes.last();
  EXPECT_EQ(std::count_if(routes.begin(), routes.end(),
                          [](const RouteListEntry& route) { return route.isDefault; }),
            1);
}

TEST_F(RouteListTest, RefusesAMissingSinkOrPortAndSaysWhy) {
  const std::string original = pactl("get-default-sink");
  loadNullSink(kSecond, kSecondDescription);
  RouteList list;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(choose(list, "orvane_missing_output"), false);
  EXPECT_EQ(pactl("get-default-sink"), original);
  // Null sinks have no ports.
  EXPECT_EQ(choose(list, kSecond, "analog-output-headphones"), false);
  const std::string console = ::testing::internal::GetCapturedStdout();
  EXPECT_THAT(console, HasSubstr("Cannot switch output to orvane_missing_output: "));
  EXPECT_THAT(console, HasSubstr("Cannot switch output to orvane_second_output: the sound server "
                                 "would not switch it to port \"analog-output-headphones\""));
}

TEST_F(RouteListTest, AnswersEveryChoiceOnceEvenWhenTheListCloses) {
  const std::string original = pactl("get-default-sink");
  std::atomic<int> answers = 0;
  {
    RouteList list;
    for (int choice = 0; choice < 8; ++choice)
      list.choose(original, {}, [&](bool) { ++answers; });
    list.choose(original);
  }
  EXPECT_EQ(answers, 8);
}

TEST_F(RouteListTest, LetsACompletionChooseAgain) {
  loadNullSink(kSecond, kSecondDescription);
  RouteList list;
  auto second = std::make_shared<std::promise<bool>>();
  list.choose("orvane_missing_output", {}, [&list, second](bool) {
    list.choose(kSecond, {}, [second](bool accepted) { second->set_value(accepted); });
  });
  auto accepted = second->get_future();
  ASSERT_EQ(accepted.wait_for(10s), std::future_status::ready);
  EXPECT_TRUE(accepted.get());
}

TEST(RouteListWithoutServer, HasNoRoutesAndRefusesPromptly) {
  RouteList list("unix:/nonexistent/orvane-test/native");
  EXPECT_TRUE(list.routes().empty());
  // Well inside the list's own 3 s answer limit: the refusal must not be a timeout.
  EXPECT_EQ(choose(list, "orvane_test_output", {}, 2s), false);
}

}  // namespace
}  // namespace platform
