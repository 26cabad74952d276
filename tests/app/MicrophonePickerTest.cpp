// The microphone picker against the private sound server with two microphones, each hearing a
// tone of its own: the pick decides what a take records, outlives a restart, and gives way to
// the default, with an alert, when the chosen microphone goes.
#include <gtest/gtest.h>

#include <QListWidget>
#include <QPointer>
#include <QStandardPaths>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <map>

#include "PrivateServer.h"
#include "ScreenHarness.h"
#include "SignalAnalysis.h"
#include "VirtualMicrophone.h"
#include "views/RoutePicker.h"

namespace app::testing {
namespace {

using audio::testing::Signal;

constexpr int kRate = 16000;

Signal tone(double hertz) {
  Signal signal{std::vector<float>(kRate), kRate};
  for (std::size_t i = 0; i < signal.samples.size(); ++i)
    signal.samples[i] = 0.5f * static_cast<float>(std::sin(2 * M_PI * hertz * i / kRate));
  return signal;
}

class MicrophonePickerTest : public platform::PrivateServerTest {
 protected:
  struct Microphone {
    const char* name;
    const char* description;
    double hertz;
  };
  static constexpr Microphone kDesk{"orvane_desk_mic", "Desk Microphone", 330};
  static constexpr Microphone kHeadset{"orvane_headset_mic", "Headset Microphone", 880};

  void SetUp() override {
    PrivateServerTest::SetUp();
    // The choice is kept in a settings file of the tests' own, empty at each start.
    QStandardPaths::setTestModeEnabled(true);
    std::filesystem::remove_all(
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation).toStdString());
    plugIn(kDesk);
    headsetModule_ = plugIn(kHeadset);
    platform::pactl(std::string("set-default-source ") + kDesk.name);
    ASSERT_TRUE(foundation::eventually([&] {
      const auto listed = views::RoutePicker::inputChoices(server_.inputs().inputs(), {});
      return std::count_if(listed.begin(), listed.end(), [](const auto& choice) {
               return choice.device == kDesk.name || choice.device == kHeadset.name;
             }) == 2;
    }));
    harness_ = launch();
  }
  // The feeders stop before their sources go: a pipe without its reader would end the test.
  void TearDown() override {
    harness_.reset();
    feeders_.clear();
    PrivateServerTest::TearDown();
  }

  // Loads the microphone and feeds it its tone; returns its module. The server line's arguments
  // reach pactl through a shell, quoted as one word.
  std::string plugIn(const Microphone& microphone) {
    const std::string module = "module-pipe-source";
    std::string line = e2e::VirtualMicrophone::serverLine(microphone.name, microphone.description,
                                                          pipe(microphone), kRate);
    line = line.substr(line.find(module) + module.size() + 1);
    line.pop_back();  // the newline
    std::string quoted = "'";
    for (char c : line)
      quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    const std::string loaded = loadModule(module + ' ' + quoted + "'");
    feeders_[microphone.name] =
        std::make_unique<e2e::VirtualMicrophone>(pipe(microphone), tone(microphone.hertz), 0);
    return loaded;
  }
  void unplug(const Microphone& microphone, const std::string& module) {
    feeders_.erase(microphone.name);
    unloadModule(module);
  }
  std::filesystem::path pipe(const Microphone& microphone) const {
    return pipes_.path() / microphone.name;
  }
  std::filesystem::path played() const { return pipes_.path() / "played.wav"; }

  std::unique_ptr<ScreenHarness> launch() {
    return std::make_unique<ScreenHarness>(
        server_, false, ScreenHarness::AwaitEngine::Yes,
        EngineDevices{
            audio::OrvaneEngineConfiguration{}.sourceDescription,
            "audio/x-raw,format=S16LE ! wavenc ! filesink location=" + played().string()});
  }

  // The picker, open; it deletes itself once closed.
  QPointer<views::RoutePicker> openPicker() {
    harness_->screen().microphonePressed();
    QPointer<views::RoutePicker> picker;
    EXPECT_TRUE(eventuallyShown([&] {
      for (auto* open : harness_->screen().window()->findChildren<views::RoutePicker*>())
        if (open->isVisible())
          picker = open;
      return picker != nullptr;
    }));
    return picker;
  }
  static QListWidget& linesOf(views::RoutePicker& picker) {
    return *picker.findChild<QListWidget*>();
  }
  void pick(const char* title) {
    QPointer<views::RoutePicker> picker = openPicker();
    ASSERT_TRUE(picker);
    QListWidget& list = linesOf(*picker);
    const auto found = list.findItems(title, Qt::MatchExactly);
    ASSERT_EQ(found.size(), 1) << title;
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                      list.visualItemRect(found.front()).center());
    EXPECT_TRUE(eventuallyShown([&] { return picker.isNull(); })) << "a pick closes the picker";
  }

  // Holds Talk for two seconds (well past the shortest take Orvane keeps, even when a busy or
  // sanitized build starts recording late) and returns the take's strongest frequency as played.
  double recordedFrequency() {
    std::filesystem::remove(played());
    QTest::mousePress(&harness_->button("talkButton"), Qt::LeftButton);
    EXPECT_TRUE(eventuallyShown([&] { return harness_->engine().recorder().isRecording(); }));
    eventuallyShown([] { return false; }, std::chrono::milliseconds(2000));
    QTest::mouseRelease(&harness_->button("talkButton"), Qt::LeftButton);
    std::optional<Signal> take;
    EXPECT_TRUE(eventuallyShown([&] {
      return (take = audio::testing::readCompleteWav(played())).has_value();
    })) << "the take was never played";
    return take ? audio::testing::dominantFrequency(*take) : 0;
  }

  foundation::TemporaryDirectory pipes_;
  platform::SoundServer server_;
  std::map<std::string, std::unique_ptr<e2e::VirtualMicrophone>> feeders_;
  std::string headsetModule_;
  std::unique_ptr<ScreenHarness> harness_;
};

TEST_F(MicrophonePickerTest, APickDecidesWhatIsRecordedAndOutlivesARestart) {
  // Every source but the output's monitor, by its description, the default selected.
  QPointer<views::RoutePicker> picker = openPicker();
  ASSERT_TRUE(picker);
  QListWidget& list = linesOf(*picker);
  QStringList titles;
  for (int row = 0; row < list.count(); ++row)
    titles << list.item(row)->text();
  EXPECT_EQ(titles, (QStringList{"Orvane Test Input", kDesk.description, kHeadset.description}));
  ASSERT_EQ(list.selectedItems().size(), 1);
  EXPECT_EQ(list.selectedItems().front()->text(), kDesk.description);
  picker->close();
  EXPECT_NEAR(recordedFrequency(), kDesk.hertz, 5);

  pick(kHeadset.description);
  EXPECT_NEAR(recordedFrequency(), kHeadset.hertz, 5);

  harness_.reset();  // one screen at a time: each brings the main queue's executor
  harness_ = launch();
  EXPECT_NEAR(recordedFrequency(), kHeadset.hertz, 5) << "the pick was lost with the restart";
  picker = openPicker();
  ASSERT_TRUE(picker);
  EXPECT_EQ(linesOf(*picker).selectedItems().at(0)->text(), kHeadset.description);
}

TEST_F(MicrophonePickerTest, TheChosenMicrophoneGoingIsToldAndTheDefaultRecordsInstead) {
  pick(kHeadset.description);
  unplug(kHeadset, headsetModule_);
  ASSERT_TRUE(eventuallyShown([&] { return harness_->alerts().size() == 1; }));
  QMessageBox& alert = *harness_->alerts().front();
  EXPECT_EQ(alert.windowTitle(), "Microphone Unavailable");
  EXPECT_TRUE(alert.text().contains(kHeadset.description)) << alert.text().toStdString();
  ScreenHarness::tap(alert, "OK");
  EXPECT_NEAR(recordedFrequency(), kDesk.hertz, 5);
}

}  // namespace
}  // namespace app::testing
