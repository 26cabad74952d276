#include "app/MicrophoneChoice.h"

#include <QCoreApplication>
#include <QSettings>
#include <algorithm>

#include "foundation/NotificationCenter.h"
#include "platform/InputList.h"

namespace app {
namespace {

// The application's own settings file, whatever organisation it is (not) given.
QSettings keptSettings() {
  return QSettings(QCoreApplication::applicationName(), QCoreApplication::applicationName());
}

std::string keptChoice() {
  return keptSettings().value(MicrophoneChoice::kSettingsKey).toString().toStdString();
}

}  // namespace

MicrophoneChoice::MicrophoneChoice(platform::InputList& inputs, QObject* parent)
    : QObject(parent), inputs_(inputs) {
  // The list's observers run on the sound server's thread; the choice is made on ours.
  foundation::NotificationCenter::defaultCenter().addObserver(
      std::string(platform::InputList::kInputsChangedNotification), this,
      [this](const foundation::Notification&) {
        QMetaObject::invokeMethod(this, &MicrophoneChoice::refresh, Qt::QueuedConnection);
      },
      &inputs_);
  refresh();
}

MicrophoneChoice::~MicrophoneChoice() {
  foundation::NotificationCenter::defaultCenter().removeObserver(this);
}

std::string MicrophoneChoice::inUse() const {
  if (!device_.empty())
    return device_;
  for (const auto& input : inputs_.inputs())
    if (input.isDefault)
      return input.name;
  return {};
}

void MicrophoneChoice::choose(const std::string& sourceName) {
  keptSettings().setValue(kSettingsKey, QString::fromStdString(sourceName));
  refresh();
}

// An empty list is a server that has not answered or has gone, not a microphone unplugged.
void MicrophoneChoice::refresh() {
  const auto inputs = inputs_.inputs();
  const std::string chosen = keptChoice();
  const auto found = std::find_if(inputs.begin(), inputs.end(),
                                  [&](const auto& input) { return input.name == chosen; });
  const bool present = !chosen.empty() && found != inputs.end();
  if (!present && !chosenDescription_.isEmpty() && !inputs.empty())
    emit chosenInputLost(chosenDescription_);
  chosenDescription_ = present ? QString::fromStdString(found->description) : QString();
  const std::string device = present ? chosen : std::string();
  if (device != device_) {
    device_ = device;
    emit deviceChanged(QString::fromStdString(device_));
  }
}

}  // namespace app
