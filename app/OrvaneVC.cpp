#include "app/OrvaneVC.h"

#include <QLocale>
#include <QMessageBox>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QShowEvent>
#include <QTimer>
#include <QVariantAnimation>
#include <array>
#include <cmath>
#include <limits>

#include "app/Alert.h"
#include "app/MicrophoneChoice.h"
#include "app/SoundSettings.h"
#include "app/TalkKeys.h"
#include "audio/OrvaneEngine.h"
#include "foundation/Console.h"
#include "foundation/NotificationCenter.h"
#include "platform/AudioSession.h"
#include "platform/InputList.h"
#include "platform/SystemVolume.h"
#include "ui_OrvaneVC.h"
#include "views/DisplayLink.h"
#include "views/RoutePicker.h"
#include "views/VolumeView.h"

namespace app {
namespace {

using audio::PlaybackEffects;
using foundation::Console;
using foundation::NotificationCenter;

constexpr int kWaveAnimationMilliseconds = 200;
constexpr double kDemoLevel = 0.4;
constexpr float kDemoVolume = 0.7f;
// How long the window must keep its size before the screen is laid out anew for it.
constexpr int kResizeSettleMilliseconds = 100;

// The route label's two faces. Where Helvetica Neue is not installed, fontconfig gives the
// nearest sans-serif face.
QFont routeLabelFont(QFont::Weight weight, int pixelSize) {
  QFont font(QStringLiteral("Helvetica Neue"));
  font.setStyleHint(QFont::SansSerif);
  font.setWeight(weight);
  font.setPixelSize(pixelSize);
  return font;
}

QFont regularRouteFont() {  // "HelveticaNeue-Regular", 24
  return routeLabelFont(QFont::Normal, 24);
}

QFont lightRouteFont() {  // "HelveticaNeue-Light", 48
  return routeLabelFont(QFont::Light, 48);
}

QPixmap imageNamed(const char* name) {
  return QPixmap(QStringLiteral(":/images/%1.png").arg(QLatin1String(name)));
}

// The last direct child of the given kind, as the phone's volume view is searched.
template <typename Child>
Child* lastChildOfKind(const QWidget& parent) {
  const auto children = parent.findChildren<Child*>(Qt::FindDirectChildrenOnly);
  return children.isEmpty() ? nullptr : children.last();
}

template <typename Value>
const Value& required(const std::optional<Value>& value, const char* name) {
  if (!value)
    qFatal("OrvaneVC: %s is used before the screen has measured it", name);
  return *value;
}

template <typename Pointer>
Pointer required(Pointer pointer, const char* name) {
  if (!pointer)
    qFatal("OrvaneVC: %s is missing", name);
  return pointer;
}

struct HoldDownTexts {
  QString title;
  QString message;
  QString dismiss;
};

// Looked up once, the first time the alert is needed.
const HoldDownTexts& holdDownTexts() {
  static const HoldDownTexts texts{
      //: Alert Title when user is not useing the talk button properly
      OrvaneVC::tr("Hold Down Talk Button"),
      //: Alert message when user is not useing the talk button properly
      OrvaneVC::tr("In order to broadcast a message, hold down the Talk button until you have "
                   "finished speaking."),
      //: Button title to dismiss Hold Down Talk Button alert.
      OrvaneVC::tr("OK"),
  };
  return texts;
}

}  // namespace

OrvaneVC::OrvaneVC(OrvaneServices services, QWidget* parent, bool demoMode)
    : QWidget(parent),
      demoMode_(demoMode),
      services_(std::move(services)),
      ui_(std::make_unique<Ui::OrvaneVC>()),
      // One command at a time, in the order sent: a release's stop must never overtake the
      // start of the recording it ends.
      audioQ_("OrvaneVC.audioQ", foundation::QualityOfService::Background),
      microphone_(new MicrophoneChoice(services_.inputs, this)),
      resizeSettled_(new QTimer(this)) {
  ui_->setupUi(this);
  routeStripHeight_ = ui_->routeLabel->height();
  resizeSettled_->setSingleShot(true);
  resizeSettled_->setInterval(kResizeSettleMilliseconds);
  connect(resizeSettled_, &QTimer::timeout, this, &OrvaneVC::didResize);
  describeEffect(audio::PlaybackEffects::NormalVoice);
  describeTone(false);
  connectActions();
  viewDidLoad();
}

OrvaneVC::~OrvaneVC() {
  NotificationCenter::defaultCenter().removeObserver(this);
}

void OrvaneVC::connectActions() {
  using views::CircleButton;
  connect(ui_->talkButton, &CircleButton::touchDown, this, &OrvaneVC::talkPressedDown);
  connect(ui_->talkButton, &CircleButton::touchUp, this, &OrvaneVC::talkTouchUp);
  new TalkKeys(*ui_->talkButton);
  connect(ui_->effectButton, &CircleButton::clicked, this, &OrvaneVC::voiceEffectPressed);
  connect(ui_->routeButton, &CircleButton::clicked, this, &OrvaneVC::airplayPressed);
  connect(ui_->microphoneButton, &CircleButton::clicked, this, &OrvaneVC::microphonePressed);
  connect(microphone_, &MicrophoneChoice::deviceChanged, this,
          [this](const QString& device) { useMicrophone(device.toStdString()); });
  connect(microphone_, &MicrophoneChoice::chosenInputLost, this,
          &OrvaneVC::presentMicrophoneLostAlert);
  // Every release toggles the tone button, inside or not, so every release sets the tone.
  connect(ui_->toneButton, &CircleButton::touchUp, this, [this] { tonePressed(*ui_->toneButton); });
  ui_->toneButton->setSelectable(true);
}

audio::OrvaneEngine& OrvaneVC::engine() const {
  return *required(orvane_.get(), "the engine");
}

template <typename... Arguments>
std::function<void(Arguments...)> OrvaneVC::onMainQueue(
    std::function<void(std::type_identity_t<Arguments>...)> work) const {
  return [alive = std::weak_ptr<void>(lifetime_), work = std::move(work)](Arguments... arguments) {
    foundation::DispatchQueue::main().async([alive, work, arguments...] {
      if (alive.lock())
        work(arguments...);
    });
  };
}

// ---- The talk cycle ----

void OrvaneVC::talkPressedDown() {
  talkHeld_ = true;
  auto granted = onMainQueue([this] { enterRecordingState(); });
  auto refused = onMainQueue([this] { presentMicrophoneAlert(); });
  services_.session.requestRecordPermission(
      [granted, refused](bool isGranted) { isGranted ? granted() : refused(); });
}

// An answer that comes after the button is up belongs to a press that is over: recording then
// would leave the microphone open with nobody holding Talk.
void OrvaneVC::enterRecordingState() {
  if (!talkHeld_)
    return;
  audioQ_.async([engine = orvane_] { engine->startRecording(); });
  recording_ = true;
  ui_->playbackProgressView->setProgress(0, true);
  showWaveFormView();
  auto* master = required(masterVolumeSlider_, "masterVolumeSlider");
  master->setHidden(true);
  ui_->volumeSlider->setHidden(false);
  ui_->volumeSlider->setFraction(master->fraction());
  ui_->volumeSlider->raise();
  NotificationCenter::defaultCenter().removeObserver(this);
}

void OrvaneVC::presentMicrophoneAlert() {
  presentAlert(
      this, QStringLiteral("Microphone"),
      QStringLiteral("Orvane needs microphone access to work. Please allow microphone "
                     "access from Settings -> Privacy -> Microphone."),
      {{QStringLiteral("OK"), AlertActionStyle::Default, {}},
       {QStringLiteral("Settings"), AlertActionStyle::Cancel, [](const AlertAction& action) {
          if (action.style == AlertActionStyle::Cancel && !SoundSettings().open())
            Console::line("No sound settings or mixer found to open");
        }}});
}

void OrvaneVC::talkTouchUp() {
  talkHeld_ = false;
  hideWaveFormView();
  registerForNotifications();
  auto showMasterSlider = onMainQueue([this] {
    auto* master = required(masterVolumeSlider_, "masterVolumeSlider");
    const QSignalBlocker displayOnly(master);
    master->setFraction(ui_->volumeSlider->fraction());
    master->setHidden(false);
    ui_->volumeSlider->setHidden(true);
  });
  audioQ_.async([engine = orvane_, showMasterSlider] {
    engine->stopRecording();
    engine->play();
    showMasterSlider();
  });
}

void OrvaneVC::registerForNotifications() {
  auto& center = NotificationCenter::defaultCenter();
  center.removeObserver(this);  // observers are never doubled
  auto showRoute = onMainQueue([this] { displayAudioRoute(); });
  // The volume view moves its slider on the main queue too, perhaps after this observer's hop
  // has been queued; hopping twice reads the slider once it has moved.
  auto showVolume = onMainQueue([this] { onMainQueue([this] { updateMasterVolumeLabel(); })(); });
  center.addObserver(std::string(platform::AudioSession::kRouteChangeNotification), this,
                     [showRoute](const foundation::Notification&) { showRoute(); });
  center.addObserver(std::string(platform::SystemVolume::kVolumeChangeNotification), this,
                     [showVolume](const foundation::Notification&) { showVolume(); });
  // The length is read on audioQ: the discoverer must hold up neither the main thread nor the
  // engine's queue, whose notification this is. No announcement starts before a release has
  // registered again, with the engine there.
  auto startProgress = onMainQueue<double>([this](double length) { startProgressBar(length); });
  auto reset = onMainQueue([this] { scheduleOrvaneReset(); });
  center.addObserver(
      audio::OrvaneEngine::playbackStartedNotificationName(), this,
      [&queue = audioQ_, engine = orvane_, startProgress](const foundation::Notification&) {
        if (engine)
          queue.async([engine, startProgress] { startProgress(engine->playbackLength()); });
      });
  center.addObserver(std::string(audio::OrvaneEngine::kPlaybackFailedNotification), this,
                     [reset](const foundation::Notification&) { reset(); });
}

void OrvaneVC::scheduleOrvaneReset() {
  resetOrvane();
  presentHoldDownAlert();
}

// One failed release can report more than one failure; the person sees one alert for it.
void OrvaneVC::presentHoldDownAlert() {
  if (holdDownAlert_)
    return;
  const HoldDownTexts& texts = holdDownTexts();
  holdDownAlert_ =
      presentAlert(this, texts.title, texts.message,
                   {{texts.dismiss, AlertActionStyle::Default, [this](const AlertAction& action) {
                       if (action.style == AlertActionStyle::Default)
                         resetOrvane();
                     }}});
}

void OrvaneVC::resetOrvane() {
  hideWaveFormView();
  ui_->playbackProgressView->setProgress(0, false);
  audioQ_.async([engine = orvane_] { engine->reset(); });
}

// At rest the waveform shows the room; the engine may not have arrived yet.
void OrvaneVC::updateMeters() {
  double level = kDemoLevel;
  if (!demoMode_)
    level = speakingLayout_ ? engine().audioLevel() : (orvane_ ? orvane_->roomLevel() : 0.0);
  ui_->waveFormView->updateWithLevel(level);
}

void OrvaneVC::startProgressBar(double playbackLength) {
  playbackLength_ = playbackLength;
  ui_->playbackProgressView->setProgress(0, false);
  ui_->playbackProgressView->animateProgress(1.0f, playbackLength);
}

// A tick of a 0.1 s progress timer; nothing starts one at present.
void OrvaneVC::updateProgressBar() {
  const float progress = ui_->playbackProgressView->progress();
  const float increment = static_cast<float>(0.1 / playbackLength_);
  ui_->playbackProgressView->setProgress(progress + increment, true);
  if (progress + increment > 1.0f && progressTimer_) {
    progressTimer_->stop();
    progressTimer_ = nullptr;
  }
}

// ---- Set-up and the controls ----

// The engine takes a while to build its graphs; the buttons that use it wait for it.
void OrvaneVC::viewDidLoad() {
  const std::array engineButtons = {ui_->talkButton, ui_->effectButton, ui_->toneButton};
  for (views::CircleButton* button : engineButtons)
    button->setEnabled(false);
  auto made = std::make_shared<std::shared_ptr<audio::OrvaneEngine>>();
  auto arrive = onMainQueue([this, made, engineButtons] {
    orvane_ = *made;
    useMicrophone(microphone_->device());
    for (views::CircleButton* button : engineButtons)
      button->setEnabled(true);
    ui_->talkButton->setFocus();
  });
  // Without an engine the buttons stay grey, and the person learns why.
  auto fail = onMainQueue<std::string>(
      [this](const std::string& reason) { presentEngineAlert(QString::fromStdString(reason)); });
  audioQ_.async([makeEngine = services_.makeEngine, made, arrive, fail] {
    try {
      *made = makeEngine();
      arrive();
    } catch (const std::exception& error) {
      Console::line(std::string("The sound system could not be set up: ") + error.what());
      fail(error.what());
    }
  });
}

void OrvaneVC::presentEngineAlert(const QString& reason) {
  //: Alert title when the sound system cannot be set up
  const QString title = tr("Orvane Cannot Record");
  //: Alert message when the sound system cannot be set up; %1 says what is missing
  const QString message = tr("Orvane cannot record or play announcements: %1").arg(reason);
  ui_->talkButton->setToolTip(message);
  presentAlert(this, title, message, {{tr("OK"), AlertActionStyle::Default, {}}});
}

void OrvaneVC::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (!event->spontaneous()) {
    layOutDisplayArea();
    viewDidAppear();
  }
}

void OrvaneVC::viewDidAppear() {
  displayAudioRoute();
  setupAirplayButton();
  setupWaveFormView();
  routeLabelFrame_ = ui_->routeLabel->geometry();
  setupVolumeSlider();
  registerForNotifications();
  if (ui_->routeLabel->text() == QLatin1String("Speaker"))
    required(masterAirplayButton_, "masterAirplayButton")->click();
  if (demoMode_) {
    ui_->volumeSlider->setHidden(false);
    ui_->volumeView->setHidden(true);
    auto* master = required(masterVolumeSlider_, "masterVolumeSlider");
    const QSignalBlocker displayOnly(master);
    master->setFraction(kDemoVolume);
    ui_->volumeSlider->setFraction(kDemoVolume);
    ui_->volumeLabel->setText(QLocale().toString(7));
  }
}

void OrvaneVC::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (isVisible())
    resizeSettled_->start();
}

void OrvaneVC::didResize() {
  if (ui_->displayArea->size() == laidOutSize_)
    return;
  for (QWidget* child : ui_->volumeView->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
    delete child;
  layOutDisplayArea();
  setupVolumeSlider();
  setupWaveFormView();
}

// Where the route label and the waveform rest when the waveform is shown: the name in a strip
// across the top, the waveform below it, both as wide as the area.
void OrvaneVC::layOutDisplayArea() {
  if (waveAnimation_)
    waveAnimation_->stop();
  const QRect area = ui_->displayArea->rect();
  ui_->routeLabel->setGeometry(0, 0, area.width(), routeStripHeight_);
  ui_->waveFormView->setGeometry(0, routeStripHeight_, area.width(),
                                 area.height() - routeStripHeight_);
  laidOutSize_ = area.size();
}

void OrvaneVC::setupAirplayButton() {
  QWidget* routeButton = ui_->routeButton;
  auto* volumeView = new views::VolumeView(services_.volume, services_.routes, routeButton);
  volumeView->setGeometry(0, 0, routeButton->width(), routeButton->height());
  if (auto* button = lastChildOfKind<QAbstractButton>(*volumeView))
    masterAirplayButton_ = button;
  volumeView->setShowsVolumeSlider(false);
  volumeView->setShowsRouteButton(true);
  volumeView->setHidden(true);
}

void OrvaneVC::airplayPressed() {
  required(masterAirplayButton_, "masterAirplayButton")->click();
}

void OrvaneVC::microphonePressed() {
  const auto choices = [this] {
    return views::RoutePicker::inputChoices(services_.inputs.inputs(), microphone_->inUse());
  };
  auto* picker = new views::RoutePicker(
      {tr("Microphone"), tr("Microphones"), tr("No microphones found"),
       std::string(platform::InputList::kInputsChangedNotification), &services_.inputs, choices,
       [this](const views::RoutePicker::Choice& choice) { microphone_->choose(choice.device); }},
      window());
  picker->setAttribute(Qt::WA_DeleteOnClose);
  picker->setWindowModality(Qt::WindowModal);
  picker->open();
}

// Until the engine arrives there is nothing to tell; it is told on arrival.
void OrvaneVC::useMicrophone(const std::string& device) {
  if (orvane_)
    audioQ_.async([engine = orvane_, device] { engine->recorder().setDevice(device); });
}

void OrvaneVC::presentMicrophoneLostAlert(const QString& description) {
  //: Alert title when the chosen microphone is unplugged or removed
  const QString title = tr("Microphone Unavailable");
  //: Alert message when the chosen microphone goes away; %1 is its name
  const QString message =
      tr("\"%1\" is no longer available. Orvane records from the default microphone until it "
         "returns.")
          .arg(description);
  presentAlert(this, title, message, {{tr("OK"), AlertActionStyle::Default, {}}});
}

void OrvaneVC::setupVolumeSlider() {
  const QRect frame(-2, 7, ui_->volumeSlider->width(), 30);
  auto* volumeView = new views::VolumeView(services_.volume, services_.routes);
  volumeView->setGeometry(frame);
  if (auto* slider = lastChildOfKind<views::VolumeSlider>(*volumeView))
    masterVolumeSlider_ = slider;
  volumeView->setShowsRouteButton(false);
  volumeView->setShowsVolumeSlider(true);
  required(masterVolumeSlider_, "masterVolumeSlider")->setMinimumTrackTintColor(Qt::white);
  ui_->volumeSlider->setHidden(true);
  volumeView->setParent(ui_->volumeView);
  volumeView->show();
  updateMasterVolumeLabel();
}

void OrvaneVC::updateMasterVolumeLabel() {
  const double tenths = required(masterVolumeSlider_, "masterVolumeSlider")->fraction() * 10.0;
  if (!std::isfinite(tenths) || std::fabs(tenths) > std::numeric_limits<int>::max())
    qFatal("OrvaneVC: the system volume %f does not make a volume figure", tenths);
  const QString figure = QLocale().toString(static_cast<int>(tenths));
  ui_->volumeLabel->setText(figure);
  //: What a screen reader says of the volume; %1 is the figure from 0 to 10
  masterVolumeSlider_->setAccessibleDescription(tr("%1 of 10").arg(figure));
}

void OrvaneVC::displayAudioRoute() {
  Console::line("displayAudioRoute");
  for (const auto& output : services_.session.currentRoute().outputs)
    ui_->routeLabel->setText(QString::fromStdString(output.portName));
  ui_->routeButton->setAccessibleDescription(ui_->routeLabel->text());
}

void OrvaneVC::voiceEffectPressed() {
  switch (engine().effect()) {
    case PlaybackEffects::NormalVoice:
      setVoiceEffect(PlaybackEffects::MonsterVoice);
      break;
    case PlaybackEffects::MonsterVoice:
      setVoiceEffect(PlaybackEffects::ChipmunkVoice);
      break;
    case PlaybackEffects::ChipmunkVoice:
      setVoiceEffect(PlaybackEffects::NormalVoice);
      break;
  }
}

bool OrvaneVC::setVoiceEffect(PlaybackEffects effect) {
  if (!orvane_)
    return false;
  orvane_->setEffect(effect);
  switch (effect) {
    case PlaybackEffects::NormalVoice:
      ui_->effectImage->setPixmap(imageNamed("NormalVoice"));
      break;
    case PlaybackEffects::MonsterVoice:
      ui_->effectImage->setPixmap(imageNamed("MonsterVoice"));
      break;
    case PlaybackEffects::ChipmunkVoice:
      ui_->effectImage->setPixmap(imageNamed("ChipmunkVoice"));
      break;
  }
  describeEffect(effect);
  return true;
}

void OrvaneVC::describeEffect(PlaybackEffects effect) {
  QString name;
  switch (effect) {
    case PlaybackEffects::NormalVoice:
      name = tr("Normal voice");
      break;
    case PlaybackEffects::MonsterVoice:
      name = tr("Monster voice, half an octave down");
      break;
    case PlaybackEffects::ChipmunkVoice:
      name = tr("Chipmunk voice, an octave up");
      break;
  }
  ui_->effectButton->setAccessibleDescription(name);
  ui_->effectImage->setAccessibleDescription(name);
}

void OrvaneVC::tonePressed(const views::CircleButton& sender) {
  engine().setStartToneOn(sender.isSelected());
  describeTone(sender.isSelected());
}

// Lit as a release that selected it leaves it.
bool OrvaneVC::setStartTone(bool on) {
  if (!orvane_)
    return false;
  views::CircleButton& button = *ui_->toneButton;
  button.setSelected(on);
  button.setDepressed(on);
  button.setNeedsLayout();
  tonePressed(button);
  return true;
}

void OrvaneVC::describeTone(bool on) {
  ui_->toneButton->setAccessibleDescription(on ? tr("Start tone on") : tr("Start tone off"));
}

void OrvaneVC::setupWaveFormView() {
  delete displaylink_;  // a link left running would call updateMeters once more per resize
  displaylink_ = new views::DisplayLink([this] { updateMeters(); }, this);
  ui_->waveFormView->setWaveColor(QColor::fromRgbF(1.0, 1.0, 1.0, 0.5));
  ui_->waveFormView->setPrimaryWaveLineWidth(3.0);
  ui_->waveFormView->setSecondaryWaveLineWidth(1.0);
  routeLabelFrame_ = ui_->routeLabel->geometry();
  waveViewFrame_ = ui_->waveFormView->geometry();
  restingWaveViewFrame_ = routeLabelFrame_;
  hideWaveFormView();
}

void OrvaneVC::showWaveFormView() {
  Console::line("ShowWaveformView");
  onMainQueue([this] {
    speakingLayout_ = true;
    ui_->waveFormView->updateWithLevel(0);
    animateWaveLayout(required(routeLabelFrame_, "routeLabelFrame"), regularRouteFont(),
                      required(waveViewFrame_, "waveViewFrame"));
  })();
}

// The name and the waveform trade places: the waveform rests small in the name's strip, still
// running, so the person sees the microphone hear the room before they press Talk.
void OrvaneVC::hideWaveFormView() {
  Console::line("HideWaveformView");
  onMainQueue([this] {
    speakingLayout_ = false;
    ui_->waveFormView->updateWithLevel(0);
    animateWaveLayout(required(waveViewFrame_, "waveViewFrame"), lightRouteFont(),
                      required(restingWaveViewFrame_, "restingWaveViewFrame"));
  })();
}

// The frames glide over 0.2 s and the route name's size with them. A new layout stops the one
// under way, whose completion then never runs.
void OrvaneVC::animateWaveLayout(const QRect& labelFrame, const QFont& labelFont,
                                 const QRect& waveFrame, std::function<void()> completion) {
  if (waveAnimation_)
    waveAnimation_->stop();
  auto* group = new QParallelAnimationGroup(this);
  auto glide = [group](QWidget* widget, const QRect& frame) {
    auto* animation = new QPropertyAnimation(widget, "geometry", group);
    animation->setDuration(kWaveAnimationMilliseconds);
    animation->setEndValue(frame);
  };
  glide(ui_->routeLabel, labelFrame);
  glide(ui_->waveFormView, waveFrame);

  QLabel* label = ui_->routeLabel;
  QFont font = labelFont;
  auto* size = new QVariantAnimation(group);
  size->setDuration(kWaveAnimationMilliseconds);
  size->setStartValue(label->font().pixelSize());
  size->setEndValue(labelFont.pixelSize());
  connect(size, &QVariantAnimation::valueChanged, label, [label, font](const QVariant& pixels) {
    QFont step = font;
    step.setPixelSize(pixels.toInt());
    label->setFont(step);
  });
  if (completion)
    connect(group, &QAbstractAnimation::finished, this, std::move(completion));
  waveAnimation_ = group;
  group->start(QAbstractAnimation::DeleteWhenStopped);
}

}  // namespace app
