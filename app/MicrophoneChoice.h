#pragma once

#include <QObject>
#include <QString>
#include <string>

namespace platform {
class InputList;
}

namespace app {

// The microphone a person chose, kept between launches by the source's name, and the source to
// record from: the chosen one while the sound server has it, the server's default otherwise.
// Follows the server's inputs on the main thread.
class MicrophoneChoice : public QObject {
  Q_OBJECT

 public:
  // The setting under which the choice is kept.
  static constexpr const char* kSettingsKey = "microphone";

  explicit MicrophoneChoice(platform::InputList& inputs, QObject* parent = nullptr);
  ~MicrophoneChoice() override;

  // The source to record from; empty for the server's default.
  const std::string& device() const { return device_; }
  // The name of the source recorded from, the default's included; empty while there is none.
  std::string inUse() const;
  // Keeps the choice for this and later launches.
  void choose(const std::string& sourceName);

 signals:
  // The source to record from changed (empty: the server's default).
  void deviceChanged(const QString& device);
  // The chosen source went away while the server still lists inputs; `description` is what the
  // person knew it as.
  void chosenInputLost(const QString& description);

 private:
  void refresh();

  platform::InputList& inputs_;
  std::string device_;
  QString chosenDescription_;  // empty while the chosen source is not on the server
};

}  // namespace app
