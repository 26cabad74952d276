// The talk cycle against the private sound server: permission, the recording state, the release,
// and the notifications the screen ignores while Talk is held.
#include <gtest/gtest.h>

#include <QLabel>
#include <QTest>
#include <thread>

#include "Eventually.h"
#include "PrivateServer.h"
#include "ScreenHarness.h"
#include "audio/OrvaneEngine.h"
#include "views/OndulaWaveformView.h"
#include "views/ProgressView.h"
#include "views/RoutePicker.h"
#include "views/VolumeSlider.h"

namespace app::testing {
namespace {

using platform::pactl;

class TalkFlowTest : public platform::PrivateServerTest {
 protected:
  void SetUp() override {
    PrivateServerTest::SetUp();
    harness_ = std::make_unique<ScreenHarness>(server_);
  }
  void TearDown() override {
    harness_.reset();
    PrivateServerTest::TearDown();
  }

  QLabel& routeLabel() { return harness_->outlet<QLabel>("routeLabel"); }
  QLabel& volumeLabel() { return harness_->outlet<QLabel>("volumeLabel"); }
  views::VolumeSlider& ownSlider() { return harness_->outlet<views::VolumeSlider>("volumeSlider"); }
  views::ProgressView& progress() {
    return harness_->outlet<views::ProgressView>("playbackProgressView");
  }
  views::CircleButton& talk() { return harness_->button("talkButton"); }
  // Gives the screen time to react to something it should ignore.
  static void settle() {
    eventuallyShown([] { return false; }, std::chrono::milliseconds(400));
  }

  SoundServer server_;
  std::unique_ptr<ScreenHarness> harness_;
};

TEST_F(TalkFlowTest, AHoldRecordsIgnoringTheServerAndTheReleasePlaysTheTake) {
  pactl("set-sink-volume @DEFAULT_SINK@ 50%");
  ASSERT_TRUE(eventuallyShown([&] { return volumeLabel().text() == "5"; }));
  const QString route = routeLabel().text();

  QTest::mousePress(&talk(), Qt::LeftButton);
  ASSERT_TRUE(eventuallyShown([&] { return harness_->engine().recorder().isRecording(); }));
  ASSERT_TRUE(eventuallyShown([&] { return harness_->screen().recording(); }));
  EXPECT_TRUE(harness_->outlet<views::OndulaWaveformView>("waveFormView").isVisible());
  EXPECT_TRUE(ownSlider().isVisible());
  EXPECT_FALSE(harness_->screen().masterVolumeSlider()->isVisible());
  EXPECT_NEAR(ownSlider().fraction(), 0.5, 0.001);
  // Each displayed frame feeds the waveform the level of the 440 Hz tone being recorded.
  auto& wave = harness_->outlet<views::OndulaWaveformView>("waveFormView");
  EXPECT_TRUE(eventuallyShown([&] { return wave.amplitude() > 0.5; }))
      << "the waveform rests at " << wave.amplitude();

  // Neither the volume nor the output the person is speaking to changes under them.
  pactl("set-sink-volume @DEFAULT_SINK@ 80%");
  loadNullSink("orvane_second_output", "Lobby Speaker");
  pactl("set-default-sink orvane_second_output");
  std::this_thread::sleep_for(std::chrono::milliseconds(1200));
  settle();
  EXPECT_EQ(volumeLabel().text(), "5");
  EXPECT_EQ(routeLabel().text(), route);

  QTest::mouseRelease(&talk(), Qt::LeftButton);
  ASSERT_TRUE(eventuallyShown([&] { return progress().progress() > 0; }))
      << "playback never started";
  EXPECT_FALSE(harness_->engine().recorder().isRecording());
  EXPECT_TRUE(eventuallyShown([&] {
    return harness_->screen().masterVolumeSlider()->isVisible() && !ownSlider().isVisible();
  }));
  EXPECT_TRUE(harness_->alerts().empty());

  pactl("set-sink-volume @DEFAULT_SINK@ 30%");
  EXPECT_TRUE(eventuallyShown([&] { return volumeLabel().text() == "3"; }));
  pactl("set-default-sink orvane_test_output");
  EXPECT_TRUE(eventuallyShown([&] { return routeLabel().text() == "Orvane Test Output"; }));
}

TEST_F(TalkFlowTest, AQuickTapResetsAndAsksOnceToHoldTalkDown) {
  QTest::mouseClick(&talk(), Qt::LeftButton);
  ASSERT_TRUE(eventuallyShown([&] { return !harness_->alerts().empty(); }));
  settle();
  ASSERT_EQ(harness_->alerts().size(), 1u);
  QMessageBox& alert = *harness_->alerts().front();
  EXPECT_EQ(alert.text(),
            "In order to broadcast a message, hold down the Talk button until you "
            "have finished speaking.");
  EXPECT_EQ(alert.windowTitle(), "Hold Down Talk Button");
  EXPECT_EQ(progress().progress(), 0.0f);
  // The permission answered after the release: the press is over and records nothing.
  EXPECT_FALSE(harness_->screen().recording());
  EXPECT_FALSE(harness_->engine().recorder().isRecording());

  ScreenHarness::tap(alert, "OK");
  EXPECT_TRUE(eventuallyShown([&] { return harness_->alerts().empty(); }));
  EXPECT_FALSE(harness_->engine().recorder().isRecording());
}

// Set-up while the device's own speaker is the output offers the outputs at once.
TEST_F(TalkFlowTest, TheSpeakerAsOutputOpensTheRoutePickerOnAppearance) {
  loadNullSink("orvane_speaker", "Speaker");
  pactl("set-default-sink orvane_speaker");
  harness_.reset();
  // The server tells of its new default in its own time; the screen appears once it has.
  ASSERT_TRUE(foundation::eventually([&] {
    const auto outputs = server_.session().currentRoute().outputs;
    return !outputs.empty() && outputs.front().portName == "Speaker";
  }));
  harness_ = std::make_unique<ScreenHarness>(server_);
  EXPECT_EQ(routeLabel().text(), "Speaker");
  EXPECT_TRUE(eventuallyShown([&] {
    auto* picker = harness_->screen().findChild<views::RoutePicker*>();
    return picker && picker->isVisible();
  }));
}

TEST_F(TalkFlowTest, TheVolumeFigureIsTheSystemVolumeInTenthsRoundedDown) {
  for (auto [percent, figure] : {std::pair{"75%", "7"}, {"100%", "10"}, {"0%", "0"}}) {
    pactl(std::string("set-sink-volume @DEFAULT_SINK@ ") + percent);
    EXPECT_TRUE(eventuallyShown([&] { return volumeLabel().text() == figure; }))
        << percent << " shows " << volumeLabel().text().toStdString();
  }
}

}  // namespace
}  // namespace app::testing
