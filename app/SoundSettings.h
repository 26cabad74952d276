#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace app {

// The desktop's sound settings, where a person lets Orvane use a microphone: the settings
// panel of the desktop they are running, or else a sound mixer.
class SoundSettings {
 public:
  struct Command {
    QString program;  // full path
    QStringList arguments;
  };

  // The running desktop ($XDG_CURRENT_DESKTOP) and the programs on $PATH.
  SoundSettings();
  SoundSettings(QString currentDesktops, QStringList searchPaths);

  // What open() would start, if anything is installed.
  std::optional<Command> command() const;
  // Starts it, detached; false when nothing is installed or it cannot be started.
  bool open() const;

 private:
  QStringList desktops_;
  QStringList searchPaths_;
};

}  // namespace app
