#pragma once

#include <QObject>

#include "foundation/Value.h"
#include "tallix/TallixApplication.h"

class QGuiApplication;

namespace foundation {
class NotificationCenter;
}

namespace app {

// Tells the analytics agent what the desktop does to Orvane: Qt's application states and the
// end of the event loop become the agent's application notifications. Leaving the active state
// resigns, coming back from hidden enters the foreground first, and quitting terminates.
class ApplicationStateNotifier : public QObject {
  Q_OBJECT

 public:
  // Follows the application's state from now on; the application owns the notifier.
  ApplicationStateNotifier(foundation::NotificationCenter& center, QGuiApplication& application);

  static tallix::ApplicationState agentState(Qt::ApplicationState state);

  void didFinishLaunching(const foundation::Value& launchOptions);
  void applicationStateChanged(Qt::ApplicationState state);
  void aboutToQuit();

 private:
  foundation::NotificationCenter& center_;
  tallix::ApplicationState state_;
};

}  // namespace app
