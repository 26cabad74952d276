#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <regex>
#include <vector>

#include "Eventually.h"
#include "PrivateServer.h"
#include "foundation/NotificationCenter.h"
#include "platform/SystemVolume.h"

namespace platform {
namespace {

using namespace std::chrono_literals;
using foundation::eventually;
using ::testing::ElementsAre;
using ::testing::FloatNear;

constexpr float kTolerance = 0.001f;

// The level the volume read at each change notification, as an observer saw it.
class VolumeChanges {
 public:
  explicit VolumeChanges(SystemVolume& volume) {
    foundation::NotificationCenter::defaultCenter().addObserver(
        std::string(SystemVolume::kVolumeChangeNotification), this,
        [this, &volume](const foundation::Notification&) {
          const float level = volume.volume();
          std::lock_guard lock(mutex_);
          levels_.push_back(level);
        },
        &volume);
  }
  ~VolumeChanges() { foundation::NotificationCenter::defaultCenter().removeObserver(this); }

  std::vector<float> levels() const {
    std::lock_guard lock(mutex_);
    return levels_;
  }
  bool lastIs(float level) const {
    const auto seen = levels();
    return !seen.empty() && std::abs(seen.back() - level) < kTolerance;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<float> levels_;
};

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

using SystemVolumeTest = PrivateServerTest;

TEST_F(SystemVolumeTest, FollowsLevelAndMuteSetElsewhere) {
  pactl("set-sink-volume @DEFAULT_SINK@ 100%");
  SystemVolume volume;
  VolumeChanges changes(volume);
  EXPECT_FLOAT_EQ(volume.volume(), 1.0f);

  pactl("set-sink-volume @DEFAULT_SINK@ 40%");
  EXPECT_TRUE(eventually([&] { return changes.levels().size() == 1; }));
  EXPECT_NEAR(volume.volume(), 0.4f, kTolerance);
  pactl("set-sink-mute @DEFAULT_SINK@ 1");
  EXPECT_TRUE(eventually([&] { return changes.levels().size() == 2; }));
  EXPECT_EQ(volume.volume(), 0.0f);
  pactl("set-sink-mute @DEFAULT_SINK@ 0");
  // Amplified past the normal level: reads as full.
  pactl("set-sink-volume @DEFAULT_SINK@ 150%");
  EXPECT_TRUE(eventually([&] { return changes.levels().size() == 4; }));
  // In the server's order, and the first answer was no change.
  EXPECT_THAT(changes.levels(),
              ElementsAre(FloatNear(0.4f, kTolerance), 0.0f, FloatNear(0.4f, kTolerance), 1.0f));
}

TEST_F(SystemVolumeTest, SetsEveryChannelKeepingTheirBalanceAndUnmutes) {
  const std::string sink = pactl("get-default-sink");
  pactl("set-sink-volume " + sink + " 32768 16384");
  pactl("set-sink-mute " + sink + " 1");
  SystemVolume volume;
  VolumeChanges changes(volume);
  ASSERT_EQ(volume.volume(), 0.0f);

  volume.setVolume(0.25f);
  EXPECT_TRUE(eventually([&] { return changes.lastIs(0.25f); }));
  EXPECT_THAT(channels(sink), ElementsAre(16384, 8192));
  EXPECT_EQ(pactl("get-sink-mute " + sink), "Mute: no");

  volume.setVolume(3.0f);
  EXPECT_TRUE(eventually([&] { return changes.lastIs(1.0f); }));
  EXPECT_THAT(channels(sink), ElementsAre(65536, 32768));

  volume.setVolume(0.0f);
  EXPECT_TRUE(eventually([&] { return changes.lastIs(0.0f); }));
  EXPECT_THAT(channels(sink), ElementsAre(0, 0));
  EXPECT_EQ(pactl("get-sink-mute " + sink), "Mute: no");
}

TEST_F(SystemVolumeTest, FollowsTheDefaultSinkToAnotherLevel) {
  const std::string original = pactl("get-default-sink");
  pactl("set-sink-volume " + original + " 100%");
  loadNullSink("orvane_quiet_output", "Orvane Quiet Output");
  pactl("set-sink-volume orvane_quiet_output 30%");
  SystemVolume volume;
  VolumeChanges changes(volume);
  ASSERT_FLOAT_EQ(volume.volume(), 1.0f);

  pactl("set-default-sink orvane_quiet_output");
  EXPECT_TRUE(eventually([&] { return changes.levels().size() == 1; }));
  EXPECT_NEAR(changes.levels().at(0), 0.3f, kTolerance);

  // Setting follows the new default and leaves the old one alone.
  volume.setVolume(0.5f);
  EXPECT_TRUE(eventually([&] { return changes.lastIs(0.5f); }));
  EXPECT_THAT(channels("orvane_quiet_output"), ElementsAre(32768, 32768));
  EXPECT_THAT(channels(original), ElementsAre(65536, 65536));

  pactl("set-default-sink " + original);
  EXPECT_TRUE(eventually([&] { return changes.lastIs(1.0f); }));
}

TEST(SystemVolumeWithoutServer, ReadsSilentWithoutWaitingOutTheFirstAnswer) {
  SystemVolume volume("unix:/nonexistent/orvane-test/native");
  const auto asked = std::chrono::steady_clock::now();
  EXPECT_EQ(volume.volume(), 0.0f);
  // The failed connection is an answer; only a server that never answers costs the full wait.
  EXPECT_LT(std::chrono::steady_clock::now() - asked, 500ms);
  volume.setVolume(0.5f);
  EXPECT_EQ(volume.volume(), 0.0f);
}

}  // namespace
}  // namespace platform
