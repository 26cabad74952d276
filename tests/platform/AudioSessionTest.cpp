#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <mutex>
#include <optional>
#include <regex>

#include "Eventually.h"
#include "PrivateServer.h"
#include "TemporaryDirectory.h"
#include "foundation/NotificationCenter.h"
#include "platform/AudioSession.h"

// These tests run against the private server the test environment names (PULSE_SERVER) and
// change it with pactl, putting back whatever they changed.
namespace platform {
namespace {

using namespace std::chrono_literals;
using foundation::eventually;

std::string sinkDescription(const std::string& sink) {
  std::smatch match;
  const std::string sinks = pactl("list sinks");
  const std::regex entry("Name: " + sink + "\n\\s*Description: ([^\n]*)");
  return std::regex_search(sinks, match, entry) ? match[1].str() : std::string();
}

std::optional<bool> askPermission(AudioSession& session, std::chrono::milliseconds limit = 10s) {
  // Shared, so a late answer after a timed-out wait has somewhere to go; a second answer
  // throws from set_value.
  auto answer = std::make_shared<std::promise<bool>>();
  auto granted = answer->get_future();
  session.requestRecordPermission([answer](bool value) { answer->set_value(value); });
  if (granted.wait_for(limit) != std::future_status::ready)
    return std::nullopt;
  return granted.get();
}

// A second null sink made the default for one test; the old default returns afterwards.
class SecondOutput {
 public:
  static constexpr const char* kName = "orvane_second_output";
  static constexpr const char* kDescription = "Orvane Second Output";

  SecondOutput()
      : previous_(pactl("get-default-sink")),
        module_(pactl(R"(load-module module-null-sink sink_name=orvane_second_output )"
                      R"("sink_properties='device.description=\"Orvane Second Output\"'")")) {
    pactl(std::string("set-default-sink ") + kName);
  }
  ~SecondOutput() {
    pactl("set-default-sink " + previous_);
    pactl("unload-module " + module_);
  }

 private:
  std::string previous_;
  std::string module_;
};

class DefaultSource {
 public:
  explicit DefaultSource(const std::string& source) : previous_(pactl("get-default-source")) {
    pactl("set-default-source " + source);
  }
  ~DefaultSource() { pactl("set-default-source " + previous_); }

 private:
  std::string previous_;
};

std::string outputName(const AudioSession& session) {
  const auto outputs = session.currentRoute().outputs;
  return outputs.empty() ? "" : outputs.front().portName;
}

// The output name the route had at each route-change notification, as an observer saw it.
class RouteChanges {
 public:
  explicit RouteChanges(AudioSession& session) {
    auto& center = foundation::NotificationCenter::defaultCenter();
    center.addObserver(
        std::string(AudioSession::kRouteChangeNotification), this,
        [this, &session](const foundation::Notification&) {
          const std::string name = outputName(session);
          std::lock_guard lock(mutex_);
          names_.push_back(name);
        },
        &session);
  }
  ~RouteChanges() { foundation::NotificationCenter::defaultCenter().removeObserver(this); }

  std::vector<std::string> names() const {
    std::lock_guard lock(mutex_);
    return names_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> names_;
};

TEST(AudioSessionPermission, FollowsWhetherTheDefaultSourceIsAMicrophone) {
  AudioSession session;
  ASSERT_EQ(pactl("get-default-source").find(".monitor"), std::string::npos);
  EXPECT_EQ(askPermission(session), true);
  {
    DefaultSource monitor(pactl("get-default-sink") + ".monitor");
    EXPECT_EQ(askPermission(session), false);
  }
  EXPECT_EQ(askPermission(session), true);
}

TEST(AudioSessionPermission, AnswersEveryRequestOnceEvenWhenTheSessionCloses) {
  std::atomic<int> answers = 0;
  {
    AudioSession session;
    for (int request = 0; request < 8; ++request)
      session.requestRecordPermission([&](bool) { ++answers; });
  }
  EXPECT_EQ(answers, 8);
}

TEST(AudioSessionPermission, LetsACompletionAskAgain) {
  AudioSession session;
  auto second = std::make_shared<std::promise<bool>>();
  session.requestRecordPermission([&session, second](bool) {
    session.requestRecordPermission([second](bool granted) { second->set_value(granted); });
  });
  auto granted = second->get_future();
  ASSERT_EQ(granted.wait_for(10s), std::future_status::ready);
  EXPECT_TRUE(granted.get());
}

TEST(AudioSessionRoute, IsTheDefaultSinkNamedByItsDescription) {
  AudioSession session;
  const std::string sink = pactl("get-default-sink");
  const auto outputs = session.currentRoute().outputs;
  ASSERT_EQ(outputs.size(), 1u);
  EXPECT_EQ(outputs.front().portName, sinkDescription(sink));
  EXPECT_EQ(outputs.front().uid, sink);
}

TEST(AudioSessionRoute, FollowsTheDefaultSinkAndPostsEachChange) {
  AudioSession session;
  const std::string original = outputName(session);
  RouteChanges changes(session);
  {
    SecondOutput second;
    // The observer reads the route itself: it must already be the new one.
    EXPECT_TRUE(eventually([&] { return changes.names().size() == 1; }));
    EXPECT_EQ(changes.names(), std::vector<std::string>{SecondOutput::kDescription});
    EXPECT_EQ(session.currentRoute().outputs.at(0).uid, SecondOutput::kName);
  }
  EXPECT_TRUE(eventually([&] { return changes.names().size() == 2; }));
  EXPECT_EQ(changes.names(), (std::vector<std::string>{SecondOutput::kDescription, original}));
  EXPECT_EQ(outputName(session), original);
}

TEST(AudioSessionRoute, PostsNeitherTheFirstAnswerNorVolumeChanges) {
  AudioSession session;
  RouteChanges changes(session);
  ASSERT_EQ(session.currentRoute().outputs.size(), 1u);
  const std::string volume = pactl("get-sink-volume @DEFAULT_SINK@");
  std::smatch raw;
  ASSERT_TRUE(std::regex_search(volume, raw, std::regex(R"(: (\d+) /)")));
  pactl("set-sink-volume @DEFAULT_SINK@ 40%");
  pactl("set-sink-mute @DEFAULT_SINK@ toggle");
  pactl("set-sink-mute @DEFAULT_SINK@ toggle");
  pactl("set-sink-volume @DEFAULT_SINK@ " + raw[1].str());
  // The server reports events in order, so once the switch below has been posted the volume
  // events before it have been handled: a post for them would show up first.
  SecondOutput second;
  EXPECT_TRUE(eventually([&] { return !changes.names().empty(); }));
  EXPECT_EQ(changes.names(), std::vector<std::string>{SecondOutput::kDescription});
}

TEST(AudioSessionWithoutServer, RefusesPromptlyAndHasNoOutputs) {
  AudioSession session("unix:/nonexistent/orvane-test/native");
  EXPECT_TRUE(session.currentRoute().outputs.empty());
  // Well inside the session's own 3 s answer limit: the refusal must not be a timeout.
  EXPECT_EQ(askPermission(session, 2s), false);
}

// Accepts connections and never says a word, like a server that hangs.
class SilentServer {
 public:
  SilentServer() : socket_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(socket_, 8), 0);
  }
  ~SilentServer() { ::close(socket_); }
  std::string address() const { return "unix:" + path_; }

 private:
  foundation::TemporaryDirectory directory_;
  std::string path_ = (directory_.path() / "native").string();
  int socket_;
};

TEST(AudioSessionWithSilentServer, GivesUpWaitingForIt) {
  SilentServer server;
  AudioSession session(server.address());
  EXPECT_TRUE(session.currentRoute().outputs.empty());
  EXPECT_EQ(askPermission(session), false);
}

// A server of the test's own, so stopping it disturbs no other test.
class OwnServer {
 public:
  OwnServer() { start(); }
  ~OwnServer() { stop(); }
  void start() { run(std::string(PRIVATE_PULSE_SCRIPT) + " start " + directory_.path().string()); }
  void stop() { run(std::string(PRIVATE_PULSE_SCRIPT) + " stop " + directory_.path().string()); }
  std::string address() const { return "unix:" + (directory_.path() / "native").string(); }

 private:
  foundation::TemporaryDirectory directory_;
};

TEST(AudioSessionReconnection, FindsTheServerAgainAfterItRestarts) {
  OwnServer server;
  AudioSession session(server.address());
  const std::string original = outputName(session);
  ASSERT_EQ(original, "Orvane Test Output");
  RouteChanges changes(session);

  server.stop();
  EXPECT_TRUE(eventually([&] { return session.currentRoute().outputs.empty(); }));
  EXPECT_EQ(askPermission(session), false);

  server.start();
  EXPECT_TRUE(eventually([&] { return changes.names().size() == 2; }));
  EXPECT_EQ(changes.names(), (std::vector<std::string>{"", original}));
  EXPECT_EQ(askPermission(session), true);
}

}  // namespace
}  // namespace platform
