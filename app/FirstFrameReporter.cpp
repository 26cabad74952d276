#include "app/FirstFrameReporter.h"

#include <QEvent>
#include <QTimer>

#include "foundation/Console.h"

namespace app {

FirstFrameReporter::FirstFrameReporter(QObject* window) : QObject(window) {
  window->installEventFilter(this);
}

bool FirstFrameReporter::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Paint) {
    watched->removeEventFilter(this);
    // The whole window is painted and flushed in the pass that sent this event.
    QTimer::singleShot(0, this, [] { foundation::Console::line("First frame painted"); });
  }
  return false;
}

}  // namespace app
