#pragma once

#include <QPointer>
#include <QRect>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>

#include "app/OrvaneServices.h"
#include "audio/PlaybackEffects.h"
#include "foundation/DispatchQueue.h"

class QAbstractButton;
class QAbstractAnimation;
class QFont;
class QMessageBox;
class QTimer;

namespace Ui {
class OrvaneVC;
}
namespace views {
class CircleButton;
class DisplayLink;
class VolumeSlider;
}  // namespace views

namespace app {

class MicrophoneChoice;

// The main screen: hold Talk, speak, let go, and the take is announced through the current
// output. Shows the output's name, the system volume as 0 to 10, the waveform (small at rest,
// showing what the microphone hears; full size while speaking) and the playback's progress; the
// effect and tone buttons set up the next announcement. Laid out by resources/OrvaneVC.ui, whose
// named widgets are its outlets.
class OrvaneVC : public QWidget {
  Q_OBJECT

 public:
  explicit OrvaneVC(OrvaneServices services, QWidget* parent = nullptr, bool demoMode = false);
  ~OrvaneVC() override;

  // Fixed volume and a constant waveform level, for demonstrations.
  bool demoMode() const { return demoMode_; }
  // Where every engine command runs, in the order the screen sends them.
  foundation::DispatchQueue& audioQ() { return audioQ_; }
  // Null until the engine that viewDidLoad() makes on audioQ has arrived; Talk, Voice and Tone
  // wait for it.
  const std::shared_ptr<audio::OrvaneEngine>& orvane() const { return orvane_; }
  // Set once a recording has been started, and never cleared.
  bool recording() const { return recording_; }
  void setRecording(bool recording) { recording_ = recording; }

  views::VolumeSlider* masterVolumeSlider() const { return masterVolumeSlider_; }
  QAbstractButton* masterAirplayButton() const { return masterAirplayButton_; }
  std::optional<QRect> routeLabelFrame() const { return routeLabelFrame_; }
  std::optional<QRect> waveViewFrame() const { return waveViewFrame_; }
  // Where the waveform rests between takes: the route name's strip, which the name leaves.
  std::optional<QRect> restingWaveViewFrame() const { return restingWaveViewFrame_; }

  // The talk cycle.
  void talkPressedDown();
  void talkTouchUp();
  void registerForNotifications();
  void scheduleOrvaneReset();
  void resetOrvane();
  void updateMeters();
  // Fills the bar over the announcement's length, measured off the main thread.
  void startProgressBar(double playbackLength);
  void updateProgressBar();

  // Set-up and the controls.
  void viewDidLoad();
  void viewDidAppear();
  // After the window has changed size, as a phone screen after a rotation.
  void didResize();
  void setupAirplayButton();
  void setupVolumeSlider();
  void setupWaveFormView();
  void displayAudioRoute();
  void updateMasterVolumeLabel();
  void voiceEffectPressed();
  void airplayPressed();
  // Opens the microphone picker; the choice is kept between launches.
  void microphonePressed();
  void tonePressed(const views::CircleButton& sender);
  // What the effect and tone buttons do, for the remote: the engine and the buttons change as
  // after the person's clicks. False, changing nothing, until the engine has arrived.
  bool setVoiceEffect(audio::PlaybackEffects effect);
  bool setStartTone(bool on);
  // From a press of Talk until its release.
  bool talkHeld() const { return talkHeld_; }
  void showWaveFormView();
  void hideWaveFormView();

 protected:
  void showEvent(QShowEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void connectActions();
  void enterRecordingState();
  void presentMicrophoneAlert();
  void presentHoldDownAlert();
  void presentMicrophoneLostAlert(const QString& description);
  void useMicrophone(const std::string& device);
  void layOutDisplayArea();
  void animateWaveLayout(const QRect& labelFrame, const QFont& labelFont, const QRect& waveFrame,
                         std::function<void()> completion = {});
  audio::OrvaneEngine& engine() const;
  void presentEngineAlert(const QString& reason);
  // What a screen reader says of the effect and tone buttons besides their names.
  void describeEffect(audio::PlaybackEffects effect);
  void describeTone(bool on);
  // Work for the main queue that is dropped if the screen is gone by the time it runs. Made on
  // the main thread; the result may be called from any thread, with the work's arguments.
  template <typename... Arguments>
  std::function<void(Arguments...)> onMainQueue(
      std::function<void(std::type_identity_t<Arguments>...)> work) const;

  const bool demoMode_;
  OrvaneServices services_;
  std::unique_ptr<Ui::OrvaneVC> ui_;
  foundation::DispatchQueue audioQ_;
  std::shared_ptr<audio::OrvaneEngine> orvane_;
  std::optional<QRect> routeLabelFrame_;
  std::optional<QRect> waveViewFrame_;
  std::optional<QRect> restingWaveViewFrame_;
  QAbstractButton* masterAirplayButton_ = nullptr;
  views::VolumeSlider* masterVolumeSlider_ = nullptr;
  views::DisplayLink* displaylink_ = nullptr;
  QTimer* progressTimer_ = nullptr;
  bool recording_ = false;
  double playbackLength_ = 0;  // of the announcement playing, as last measured

  bool talkHeld_ = false;
  bool speakingLayout_ = false;  // the waveform full size, fed the take's level
  MicrophoneChoice* microphone_;
  QPointer<QAbstractAnimation> waveAnimation_;
  QPointer<QMessageBox> holdDownAlert_;
  int routeStripHeight_;  // the route label's height where the interface file puts it
  QTimer* resizeSettled_;
  QSize laidOutSize_;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace app
