#include "app/SoundSettings.h"

#include <QProcess>
#include <QStandardPaths>
#include <array>

namespace app {
namespace {

struct Candidate {
  const char* desktop;  // nullptr: any desktop
  const char* program;
  QStringList arguments;
};

// The desktop's own panels first, then mixers that work anywhere.
const std::array<Candidate, 8>& candidates() {
  static const std::array<Candidate, 8> list = {{
      {"GNOME", "gnome-control-center", {"sound"}},
      {"KDE", "systemsettings", {"kcm_pulseaudio"}},
      {"KDE", "systemsettings5", {"kcm_pulseaudio"}},
      {"X-Cinnamon", "cinnamon-settings", {"sound"}},
      {"MATE", "mate-volume-control", {}},
      {nullptr, "pavucontrol", {}},
      {nullptr, "pavucontrol-qt", {}},
      {nullptr, "pwvucontrol", {}},
  }};
  return list;
}

}  // namespace

SoundSettings::SoundSettings()
    : SoundSettings(qEnvironmentVariable("XDG_CURRENT_DESKTOP"),
                    qEnvironmentVariable("PATH").split(':', Qt::SkipEmptyParts)) {}

SoundSettings::SoundSettings(QString currentDesktops, QStringList searchPaths)
    : desktops_(currentDesktops.split(':', Qt::SkipEmptyParts)),
      searchPaths_(std::move(searchPaths)) {}

std::optional<SoundSettings::Command> SoundSettings::command() const {
  for (const Candidate& candidate : candidates()) {
    if (candidate.desktop && !desktops_.contains(candidate.desktop, Qt::CaseInsensitive))
      continue;
    QString program = QStandardPaths::findExecutable(candidate.program, searchPaths_);
    if (!program.isEmpty())
      return Command{program, candidate.arguments};
  }
  return std::nullopt;
}

bool SoundSettings::open() const {
  auto found = command();
  return found && QProcess::startDetached(found->program, found->arguments);
}

}  // namespace app
