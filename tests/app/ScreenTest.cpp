// The main screen with no sound server: the refused microphone, the controls and the layouts.
#include <gmock/gmock.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QLabel>
#include <QTest>
#include <QTranslator>
#include <fstream>
#include <future>

#include "ScreenHarness.h"
#include "audio/GStreamer.h"
#include "audio/OrvaneEngine.h"
#include "views/OndulaWaveformView.h"
#include "views/ProgressView.h"
#include "views/VolumeSlider.h"
#include "views/VolumeView.h"

namespace app::testing {
namespace {

class ScreenTest : public ::testing::Test {
 protected:
  SoundServer server_{kNoServer};
};

// A stand-in for the desktop's mixer that notes it was started.
class FakeMixer {
 public:
  FakeMixer() : savedPath_(qgetenv("PATH")), savedDesktop_(qgetenv("XDG_CURRENT_DESKTOP")) {
    const auto program = directory_.path() / "pavucontrol";
    std::ofstream(program) << "#!/bin/sh\ntouch '" << started().string() << "'\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    qputenv("PATH", QByteArray::fromStdString(directory_.path().string()) + ":/usr/bin:/bin");
    qunsetenv("XDG_CURRENT_DESKTOP");
  }
  ~FakeMixer() {
    qputenv("PATH", savedPath_);
    qputenv("XDG_CURRENT_DESKTOP", savedDesktop_);
  }
  std::filesystem::path started() const { return directory_.path() / "started"; }

 private:
  foundation::TemporaryDirectory directory_;
  QByteArray savedPath_;
  QByteArray savedDesktop_;
};

TEST_F(ScreenTest, ARefusedMicrophoneLeavesTheEngineAloneButTheReleaseStillPlays) {
  ScreenHarness harness(server_);
  FakeMixer mixer;
  QTest::mousePress(&harness.button("talkButton"), Qt::LeftButton);
  ASSERT_TRUE(eventuallyShown([&] { return !harness.alerts().empty(); }));
  QMessageBox& alert = *harness.alerts().front();
  EXPECT_EQ(alert.windowTitle(), "Microphone");
  EXPECT_EQ(alert.text(),
            "Orvane needs microphone access to work. Please allow microphone access "
            "from Settings -> Privacy -> Microphone.");
  EXPECT_FALSE(harness.screen().recording());
  EXPECT_FALSE(harness.engine().recorder().isRecording());
  EXPECT_EQ(harness.alerts().size(), 1u);

  ScreenHarness::tap(alert, "Settings");
  EXPECT_TRUE(eventuallyShown([&] { return std::filesystem::exists(mixer.started()); }))
      << "the mixer was not opened";

  // Nothing was recorded, so the engine reports the failed playback.
  QTest::mouseRelease(&harness.button("talkButton"), Qt::LeftButton);
  ASSERT_TRUE(eventuallyShown([&] { return !harness.alerts().empty(); }));
  EXPECT_EQ(harness.alerts().front()->windowTitle(), "Hold Down Talk Button");
}

// What is seen and what a screen reader says follow the buttons alike.
TEST_F(ScreenTest, TheEffectButtonCyclesThroughTheThreeVoicesAndTheToneFollowsItsButton) {
  ScreenHarness harness(server_);
  auto& image = harness.outlet<QLabel>("effectImage");
  auto& voice = harness.button("effectButton");
  EXPECT_EQ(voice.accessibleDescription(), "Normal voice");
  using audio::PlaybackEffects;
  for (auto [effect, picture] : {std::pair{PlaybackEffects::MonsterVoice, "MonsterVoice"},
                                 {PlaybackEffects::ChipmunkVoice, "ChipmunkVoice"},
                                 {PlaybackEffects::NormalVoice, "NormalVoice"}}) {
    const QString before = voice.accessibleDescription();
    QTest::mouseClick(&voice, Qt::LeftButton);
    EXPECT_EQ(harness.engine().effect(), effect);
    EXPECT_NE(voice.accessibleDescription(), before);
    const QImage expected(QStringLiteral(":/images/%1.png").arg(QLatin1String(picture)));
    ASSERT_FALSE(expected.isNull()) << picture << " is not among the resources";
    EXPECT_EQ(image.pixmap().toImage().convertToFormat(QImage::Format_ARGB32),
              expected.convertToFormat(QImage::Format_ARGB32))
        << picture;
  }

  auto& tone = harness.button("toneButton");
  QTest::mouseClick(&tone, Qt::LeftButton);
  EXPECT_TRUE(harness.engine().isStartToneOn());
  EXPECT_EQ(tone.accessibleDescription(), "Start tone on");
  QTest::mousePress(&tone, Qt::LeftButton);
  QTest::mouseRelease(&tone, Qt::LeftButton, {}, QPoint(500, 500));
  EXPECT_FALSE(tone.isSelected());
  EXPECT_FALSE(harness.engine().isStartToneOn()) << "a release outside also switches the tone";
  EXPECT_EQ(tone.accessibleDescription(), "Start tone off");
}

// Every control a person can reach is named for a screen reader, in German too.
TEST_F(ScreenTest, EveryControlIsNamedAndTranslated) {
  QTranslator german;
  ASSERT_TRUE(german.load(QLocale(QLocale::German), "orvane", "_", ":/i18n"));
  QCoreApplication::installTranslator(&german);
  ScreenHarness harness(server_);
  for (QWidget* control : harness.screen().findChildren<QWidget*>()) {
    if (control->focusPolicy() == Qt::NoFocus || !control->isVisibleTo(&harness.screen()))
      continue;
    EXPECT_FALSE(QAccessible::queryAccessibleInterface(control)->text(QAccessible::Name).isEmpty())
        << control->metaObject()->className() << ' ' << control->objectName().toStdString();
  }
  EXPECT_EQ(harness.button("talkButton").text(), "Sprechen");
  EXPECT_EQ(harness.button("routeButton").accessibleName(), "Ausgabe");
  EXPECT_EQ(harness.button("microphoneButton").accessibleName(), "Mikrofon");
  EXPECT_EQ(harness.button("effectButton").accessibleDescription(), "Normale Stimme");
  EXPECT_EQ(harness.screen().masterVolumeSlider()->accessibleName(), "Lautstärke");
  QCoreApplication::removeTranslator(&german);
}

TEST_F(ScreenTest, ANewWindowSizeRebuildsTheVolumeViewAndTheWaveformFrames) {
  ScreenHarness harness(server_);
  OrvaneVC& screen = harness.screen();
  auto& wave = harness.outlet<views::OndulaWaveformView>("waveFormView");
  EXPECT_EQ(*screen.waveViewFrame(), QRect(0, 40, 380, 160));
  EXPECT_EQ(*screen.routeLabelFrame(), QRect(0, 0, 380, 40));
  // Set-up ends at rest: the waveform small in the name's strip, still shown, the name below.
  EXPECT_TRUE(eventuallyShown([&] { return wave.geometry() == QRect(0, 0, 380, 40); }));
  EXPECT_TRUE(wave.isVisible());
  EXPECT_EQ(harness.outlet<QLabel>("routeLabel").geometry(), QRect(0, 40, 380, 160));

  screen.resize(600, 800);
  ASSERT_TRUE(eventuallyShown([&] { return screen.waveViewFrame()->width() == 560; }));
  EXPECT_EQ(*screen.restingWaveViewFrame(), QRect(0, 0, 560, 40));
  EXPECT_EQ(*screen.routeLabelFrame(), QRect(0, 0, 560, 40));
  auto volumeViews = harness.outlet<QWidget>("volumeView")
                         .findChildren<views::VolumeView*>(Qt::FindDirectChildrenOnly);
  ASSERT_EQ(volumeViews.size(), 1);
  EXPECT_EQ(volumeViews.front()->findChild<views::VolumeSlider*>(), screen.masterVolumeSlider());
}

TEST_F(ScreenTest, InDemoModeTheVolumeIsFixedAndTheWaveMovesAtAFixedLevel) {
  ScreenHarness harness(server_, true);
  EXPECT_EQ(harness.outlet<QLabel>("volumeLabel").text(), "7");
  EXPECT_TRUE(harness.outlet<views::VolumeSlider>("volumeSlider").isVisible());
  EXPECT_FALSE(harness.outlet<QWidget>("volumeView").isVisible());
  EXPECT_NEAR(harness.screen().masterVolumeSlider()->fraction(), 0.7, 0.001);
  harness.screen().updateMeters();
  EXPECT_DOUBLE_EQ(harness.outlet<views::OndulaWaveformView>("waveFormView").amplitude(), 0.4);
}

TEST_F(ScreenTest, TheButtonsThatUseTheEngineWaitUntilItIsBuilt) {
  MainQueueOnEventLoop mainQueue;
  foundation::TemporaryDirectory documents;
  std::promise<void> build;
  OrvaneVC screen(
      OrvaneServices::of(server_, [devices = ScreenHarness::testDevices(server_, documents.path()),
                                   built = build.get_future().share()] {
        built.wait();
        return std::make_shared<audio::OrvaneEngine>(devices);
      }));
  screen.show();
  const char* names[] = {"talkButton", "effectButton", "toneButton"};
  for (const char* name : names) {
    auto& button = *screen.findChild<views::CircleButton*>(name);
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_FALSE(button.isEnabled()) << name;
  }
  build.set_value();
  EXPECT_TRUE(eventuallyShown([&] { return screen.orvane() != nullptr; }));
  for (const char* name : names)
    EXPECT_TRUE(screen.findChild<views::CircleButton*>(name)->isEnabled()) << name;
}

// As on a machine without the plugin that decodes the takes.
TEST_F(ScreenTest, AnEngineThatCannotBeBuiltSaysWhatIsMissing) {
  audio::ensureGStreamer();
  GstRegistry* registry = gst_registry_get();
  GstPluginFeature* decoder = gst_registry_lookup_feature(registry, "avdec_aac");
  ASSERT_TRUE(decoder);
  gst_registry_remove_feature(registry, decoder);
  {
    ScreenHarness harness(server_, false, ScreenHarness::AwaitEngine::No);
    ASSERT_TRUE(eventuallyShown([&] { return !harness.alerts().empty(); }));
    EXPECT_EQ(harness.alerts().front()->windowTitle(), "Orvane Cannot Record");
    EXPECT_THAT(harness.alerts().front()->text().toStdString(),
                ::testing::HasSubstr("\"avdec_aac\" (gstreamer1.0-libav)"));
    EXPECT_FALSE(harness.button("talkButton").isEnabled());
  }
  gst_registry_add_feature(registry, decoder);
}

TEST_F(ScreenTest, TheProgressBarFillsOverThePlaybackAndStaysFull) {
  ScreenHarness harness(server_);
  auto& progress = harness.outlet<views::ProgressView>("playbackProgressView");
  harness.screen().startProgressBar(0);  // a length of 0 fills it at once
  EXPECT_EQ(progress.progress(), 1.0f);
  harness.screen().resetOrvane();
  EXPECT_EQ(progress.progress(), 0.0f);
}

}  // namespace
}  // namespace app::testing
