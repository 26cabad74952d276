#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <regex>
#include <thread>

#include "Eventually.h"
#include "PrivateServer.h"
#include "TemporaryDirectory.h"
#include "foundation/NotificationCenter.h"
#include "platform/SoundServer.h"

// These tests run against the private server the test environment names (PULSE_SERVER) and
// change it with pactl; the fixture puts back whatever they changed.
namespace platform {
namespace {

using namespace std::chrono_literals;
using foundation::eventually;
using ::testing::ElementsAre;
using ::testing::FloatNear;
using ::testing::HasSubstr;

constexpr float kTolerance = 0.001f;
constexpr const char* kSecond = "orvane_second_output";
constexpr const char* kSecondDescription = "Orvane Second Output";
constexpr const char* kNoServer = "unix:/nonexistent/orvane-test/native";

// What `read` gave at each notification of one name, as an observer saw it. Observing every
// object catches the server's first answer, posted before a test could learn the facades.
template <typename T>
class Changes {
 public:
  Changes(std::string_view name, std::function<T()> read) : read_(std::move(read)) {
    foundation::NotificationCenter::defaultCenter().addObserver(
        std::string(name), this, [this](const foundation::Notification&) {
          T value = read_();
          std::lock_guard lock(mutex_);
          seen_.push_back(std::move(value));
        });
  }
  ~Changes() { foundation::NotificationCenter::defaultCenter().removeObserver(this); }

  std::vector<T> seen() const {
    std::lock_guard lock(mutex_);
    return seen_;
  }
  std::size_t count() const { return seen().size(); }
  std::optional<T> last() const {
    const auto all = seen();
    return all.empty() ? std::nullopt : std::optional(all.back());
  }

 private:
  std::function<T()> read_;
  mutable std::mutex mutex_;
  std::vector<T> seen_;
};

// The facades of a server, made after observers that read them.
class ObservedServer {
 public:
  explicit ObservedServer(const std::string& address = {}) : server_(address) {}

  AudioSession& session() { return server_.session(); }
  SystemVolume& volume() { return server_.volume(); }
  RouteList& routes() { return server_.routes(); }
  InputList& inputs() { return server_.inputs(); }
  std::string outputName() {
    const auto outputs = session().currentRoute().outputs;
    return outputs.empty() ? "" : outputs.front().portName;
  }
  bool hasAnswered() { return !routes().routes().empty(); }

  Changes<std::string> routeChanges{AudioSession::kRouteChangeNotification,
                                    [this] { return outputName(); }};
  Changes<float> volumeChanges{SystemVolume::kVolumeChangeNotification,
                               [this] { return volume().volume(); }};
  Changes<std::vector<RouteListEntry>> listChanges{RouteList::kRoutesChangedNotification,
                                                   [this] { return routes().routes(); }};
  Changes<std::vector<RouteListEntry>> inputChanges{InputList::kInputsChangedNotification,
                                                    [this] { return inputs().inputs(); }};

 private:
  // Made after the observers, so they see its first answer.
  SoundServer server_;
};

std::optional<RouteListEntry> find(const std::vector<RouteListEntry>& routes,
                                   const std::string& name) {
  const auto found = std::find_if(routes.begin(), routes.end(),
                                  [&](const RouteListEntry& route) { return route.name == name; });
  return found == routes.end() ? std::nullopt : std::optional(*found);
}

bool isDefault(const std::optional<std::vector<RouteListEntry>>& routes, const std::string& name) {
  const auto route = routes ? find(*routes, name) : std::nullopt;
  return route && route->isDefault;
}

// Nothing while the completion has not run within the limit. The completion's promise is
// shared, so a late answer after a timed-out wait has somewhere to go; a second answer throws
// from set_value.
std::optional<bool> await(const std::function<void(std::function<void(bool)>)>& request,
                          std::chrono::milliseconds limit = 10s) {
  auto answer = std::make_shared<std::promise<bool>>();
  auto future = answer->get_future();
  request([answer, caller = std::this_thread::get_id()](bool value) {
    EXPECT_NE(std::this_thread::get_id(), caller) << "the completion ran inside the request";
    answer->set_value(value);
  });
  if (future.wait_for(limit) != std::future_status::ready)
    return std::nullopt;
  return future.get();
}

std::optional<bool> askPermission(AudioSession& session, std::chrono::milliseconds limit = 10s) {
  return await([&](auto completion) { session.requestRecordPermission(completion); }, limit);
}

std::optional<bool> choose(RouteList& list, const std::string& sink, const std::string& port = {},
                           std::chrono::milliseconds limit = 10s) {
  return await([&](auto completion) { list.choose(sink, port, completion); }, limit);
}

// The raw level of each channel of a sink.
std::vector<long> channels(const std::string& sink) {
  const std::string volume = pactl("get-sink-volume " + sink);
  std::vector<long> levels;
  const std::regex raw(R"(: (\d+) /)");
  for (auto match = std::sregex_iterator(volume.begin(), volume.end(), raw);
       match != std::sregex_iterator(); ++match)
    levels.push_back(std::stol((*match)[1].str()));
  return levels;
}

using SoundServerTest = PrivateServerTest;

TEST_F(SoundServerTest, ItsFirstAnswerArrivesAsOneChangeOfEach) {
  pactl("set-sink-volume @DEFAULT_SINK@ 60%");
  const std::string sink = pactl("get-default-sink");
  ObservedServer server;
  EXPECT_TRUE(eventually([&] { return server.listChanges.count() == 1; }));
  EXPECT_THAT(server.routeChanges.seen(), ElementsAre("Orvane Test Output"));
  EXPECT_THAT(server.volumeChanges.seen(), ElementsAre(FloatNear(0.6f, kTolerance)));
  EXPECT_EQ(find(server.routes().routes(), sink),
            (RouteListEntry{sink, "Orvane Test Output", "Orvane Test Output", {}, "", true}));
  EXPECT_EQ(server.session().currentRoute().outputs.at(0).uid, sink);
  // The output's monitor is a source too, but no microphone.
  EXPECT_EQ(server.inputChanges.count(), 1u);
  EXPECT_EQ(server.inputs().inputs(),
            (std::vector<RouteListEntry>{
                {"orvane_test_input", "Orvane Test Input", "Orvane Test Input", {}, "", true}}));
}

TEST_F(SoundServerTest, FollowsTheSourcesThatComeAndGoLeavingMonitorsOut) {
  ObservedServer server;
  ASSERT_TRUE(eventually([&] { return server.inputChanges.count() == 1; }));
  const std::string microphone =
      loadModule("module-null-source source_name=orvane_desk_mic description=Desk_Microphone");
  loadNullSink(kSecond, kSecondDescription);
  EXPECT_TRUE(eventually([&] { return server.inputs().inputs().size() == 2; }));
  EXPECT_EQ(
      find(server.inputs().inputs(), "orvane_desk_mic"),
      (RouteListEntry{"orvane_desk_mic", "Desk_Microphone", "Desk_Microphone", {}, "", false}));

  pactl("set-default-source orvane_desk_mic");
  EXPECT_TRUE(eventually([&] { return isDefault(server.inputChanges.last(), "orvane_desk_mic"); }));
  unloadModule(microphone);
  EXPECT_TRUE(eventually([&] {
    const auto inputs = server.inputs().inputs();
    return inputs.size() == 1 && inputs.front().name == "orvane_test_input";
  }));
  EXPECT_EQ(server.listChanges.count(), 2u) << "a source is no change of the outputs";
}

TEST_F(SoundServerTest, FollowsTheDefaultSinkAndNothingButItsChanges) {
  const std::string original = pactl("get-default-sink");
  pactl("set-sink-volume " + original + " 100%");
  ObservedServer server;
  ASSERT_TRUE(eventually([&] { return server.volumeChanges.count() == 1; }));

  loadNullSink(kSecond, kSecondDescription);
  pactl(std::string("set-sink-volume ") + kSecond + " 30%");
  EXPECT_TRUE(eventually([&] { return server.listChanges.count() == 2; }));
  // A sink that is not the default is no new route or volume.
  EXPECT_EQ(server.routeChanges.count(), 1u);
  EXPECT_EQ(find(server.routes().routes(), kSecond),
            (RouteListEntry{kSecond, kSecondDescription, kSecondDescription, {}, "", false}));

  pactl(std::string("set-default-sink ") + kSecond);
  EXPECT_TRUE(eventually([&] { return server.routeChanges.count() == 2; }));
  // Each observer reads the listing that posted it: the route, volume and list agree.
  EXPECT_EQ(server.routeChanges.last(), kSecondDescription);
  EXPECT_TRUE(eventually([&] { return isDefault(server.listChanges.last(), kSecond); }));
  EXPECT_FALSE(isDefault(server.listChanges.last(), original));
  EXPECT_NEAR(*server.volumeChanges.last(), 0.3f, kTolerance);

  // Setting follows the new default and leaves the old one alone.
  server.volume().setVolume(0.5f);
  EXPECT_TRUE(eventually([&] { return server.volume().volume() == 0.5f; }));
  EXPECT_THAT(channels(kSecond), ElementsAre(32768, 32768));
  EXPECT_THAT(channels(original), ElementsAre(65536, 65536));

  pactl("set-default-sink " + original);
  EXPECT_TRUE(eventually([&] { return isDefault(server.listChanges.last(), original); }));
  EXPECT_EQ(
      server.routeChanges.seen(),
      (std::vector<std::string>{"Orvane Test Output", kSecondDescription, "Orvane Test Output"}));
  EXPECT_EQ(server.volumeChanges.last(), 1.0f);
  // The volume changes moved neither the route nor the list.
  EXPECT_EQ(server.listChanges.count(), 4u);
}

TEST_F(SoundServerTest, VolumeFollowsLevelAndMuteSetElsewhere) {
  pactl("set-sink-volume @DEFAULT_SINK@ 100%");
  ObservedServer server;
  ASSERT_TRUE(eventually([&] { return server.volumeChanges.count() == 1; }));

  // One at a time: a burst of changes may be read as one.
  for (const auto* change : {"set-sink-volume @DEFAULT_SINK@ 40%", "set-sink-mute @DEFAULT_SINK@ 1",
                             "set-sink-mute @DEFAULT_SINK@ 0",
                             // Amplified past the normal level: reads as full.
                             "set-sink-volume @DEFAULT_SINK@ 150%"}) {
    const auto before = server.volumeChanges.count();
    pactl(change);
    EXPECT_TRUE(eventually([&] { return server.volumeChanges.count() > before; })) << change;
  }
  EXPECT_THAT(server.volumeChanges.seen(), ElementsAre(1.0f, FloatNear(0.4f, kTolerance), 0.0f,
                                                       FloatNear(0.4f, kTolerance), 1.0f));
  EXPECT_EQ(server.routeChanges.count(), 1u);
}

TEST_F(SoundServerTest, SettingTheVolumeKeepsTheChannelsBalanceAndUnmutes) {
  const std::string sink = pactl("get-default-sink");
  pactl("set-sink-volume " + sink + " 32768 16384");
  pactl("set-sink-mute " + sink + " 1");
  ObservedServer server;
  ASSERT_TRUE(eventually([&] { return server.hasAnswered(); }));
  ASSERT_EQ(server.volume().volume(), 0.0f);

  for (const auto& [fraction, expected, levels] :
       {std::tuple{0.25f, 0.25f, std::vector<long>{16384, 8192}},
        std::tuple{3.0f, 1.0f, std::vector<long>{65536, 32768}},
        std::tuple{0.0f, 0.0f, std::vector<long>{0, 0}}}) {
    server.volume().setVolume(fraction);
    EXPECT_TRUE(eventually([&] { return server.volumeChanges.last() == expected; })) << fraction;
    EXPECT_EQ(channels(sink), levels) << fraction;
    EXPECT_EQ(pactl("get-sink-mute " + sink), "Mute: no");
  }
}

class DefaultSource {
 public:
  explicit DefaultSource(const std::string& source) : previous_(pactl("get-default-source")) {
    pactl("set-default-source " + source);
  }
  ~DefaultSource() { pactl("set-default-source " + previous_); }

 private:
  std::string previous_;
};

TEST_F(SoundServerTest, PermissionFollowsWhetherTheDefaultSourceIsAMicrophone) {
  SoundServer server;
  ASSERT_EQ(pactl("get-default-source").find(".monitor"), std::string::npos);
  EXPECT_EQ(askPermission(server.session()), true);
  {
    DefaultSource monitor(pactl("get-default-sink") + ".monitor");
    EXPECT_EQ(askPermission(server.session()), false);
  }
  EXPECT_EQ(askPermission(server.session()), true);
}

TEST_F(SoundServerTest, ChoosingMakesTheDefaultAndMovesThePlayingStreams) {
  loadNullSink(kSecond, kSecondDescription);
  loadNullSink("orvane_third_output", "Orvane Third Output");
  startStream();
  ASSERT_TRUE(eventually([] { return streamSinks().size() == 1; }));
  // Moved by hand, the stream prefers the third sink: the server would not move it to a new
  // default of its own accord.
  pactl("move-sink-input " + run("pactl list short sink-inputs | cut -f1") +
        " orvane_third_output");
  ObservedServer server;

  EXPECT_EQ(choose(server.routes(), kSecond), true);
  EXPECT_EQ(pactl("get-default-sink"), kSecond);
  EXPECT_EQ(streamSinks(), std::vector{sinkIndex(kSecond)});
  EXPECT_TRUE(eventually([&] { return isDefault(server.listChanges.last(), kSecond); }));
  const auto routes = *server.listChanges.last();
  EXPECT_EQ(std::count_if(routes.begin(), routes.end(),
                          [](const RouteListEntry& route) { return route.isDefault; }),
            1);
}

TEST_F(SoundServerTest, ChoosingAMissingSinkOrPortIsRefusedWithTheReason) {
  const std::string original = pactl("get-default-sink");
  loadNullSink(kSecond, kSecondDescription);
  SoundServer server;
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(choose(server.routes(), "orvane_missing_output"), false);
  EXPECT_EQ(pactl("get-default-sink"), original);
  // Null sinks have no ports.
  EXPECT_EQ(choose(server.routes(), kSecond, "analog-output-headphones"), false);
  const std::string console = ::testing::internal::GetCapturedStdout();
  EXPECT_THAT(console, HasSubstr("Cannot switch output to orvane_missing_output: "));
  EXPECT_THAT(console, HasSubstr("Cannot switch output to orvane_second_output: the sound server "
                                 "would not switch it to port \"analog-output-headphones\""));
}

TEST_F(SoundServerTest, AnswersEveryRequestOnceEvenWhenItCloses) {
  const std::string original = pactl("get-default-sink");
  std::atomic<int> answers = 0;
  {
    SoundServer server;
    for (int request = 0; request < 8; ++request) {
      server.session().requestRecordPermission([&](bool) { ++answers; });
      server.routes().choose(original, {}, [&](bool) { ++answers; });
    }
    server.routes().choose(original);
  }
  EXPECT_EQ(answers, 16);
}

TEST_F(SoundServerTest, LetsACompletionAskAgain) {
  loadNullSink(kSecond, kSecondDescription);
  SoundServer server;
  auto second = std::make_shared<std::promise<bool>>();
  server.routes().choose("orvane_missing_output", {}, [&server, second](bool) {
    server.session().requestRecordPermission(
        [second](bool granted) { second->set_value(granted); });
  });
  auto granted = second->get_future();
  ASSERT_EQ(granted.wait_for(10s), std::future_status::ready);
  EXPECT_TRUE(granted.get());
}

TEST(SoundServerWithoutServer, HasNothingAndRefusesPromptly) {
  SoundServer server(kNoServer);
  EXPECT_TRUE(server.session().currentRoute().outputs.empty());
  EXPECT_TRUE(server.routes().routes().empty());
  EXPECT_EQ(server.volume().volume(), 0.0f);
  server.volume().setVolume(0.5f);
  // Well inside the 3 s answer limit of a request: the refusals must not be timeouts.
  EXPECT_EQ(askPermission(server.session(), 2s), false);
  EXPECT_EQ(choose(server.routes(), "orvane_test_output", {}, 2s), false);
  EXPECT_EQ(server.volume().volume(), 0.0f);
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

TEST(SoundServerSilent, IsGivenUpOn) {
  SilentServer silent;
  SoundServer server(silent.address());
  EXPECT_TRUE(server.session().currentRoute().outputs.empty());
  EXPECT_EQ(askPermission(server.session()), false);
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

TEST(SoundServerRestarting, IsFoundAgain) {
  OwnServer own;
  ObservedServer server(own.address());
  ASSERT_TRUE(eventually([&] { return server.routeChanges.count() == 1; }));

  own.stop();
  EXPECT_TRUE(eventually([&] { return server.routeChanges.count() == 2; }));
  EXPECT_TRUE(server.routes().routes().empty());
  EXPECT_EQ(askPermission(server.session()), false);

  own.start();
  EXPECT_TRUE(eventually([&] { return server.routeChanges.count() == 3; }));
  EXPECT_THAT(server.routeChanges.seen(),
              ElementsAre("Orvane Test Output", "", "Orvane Test Output"));
  EXPECT_EQ(askPermission(server.session()), true);
}

}  // namespace
}  // namespace platform
