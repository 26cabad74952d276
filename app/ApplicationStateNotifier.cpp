#include "app/ApplicationStateNotifier.h"

#include <QGuiApplication>

#include "foundation/NotificationCenter.h"

namespace app {

using tallix::ApplicationState;

ApplicationStateNotifier::ApplicationStateNotifier(foundation::NotificationCenter& center,
                                                   QGuiApplication& application)
    : QObject(&application),
      center_(center),
      state_(agentState(QGuiApplication::applicationState())) {
  connect(&application, &QGuiApplication::applicationStateChanged, this,
          &ApplicationStateNotifier::applicationStateChanged);
  connect(&application, &QCoreApplication::aboutToQuit, this,
          &ApplicationStateNotifier::aboutToQuit);
}

ApplicationState ApplicationStateNotifier::agentState(Qt::ApplicationState state) {
  switch (state) {
    case Qt::ApplicationActive:
      return ApplicationState::Active;
    case Qt::ApplicationInactive:
      return ApplicationState::Inactive;
    case Qt::ApplicationHidden:
    case Qt::ApplicationSuspended:
      break;
  }
  return ApplicationState::Background;
}

void ApplicationStateNotifier::didFinishLaunching(const foundation::Value& launchOptions) {
  center_.post(tallix::kApplicationDidFinishLaunchingNotification, nullptr, launchOptions);
}

void ApplicationStateNotifier::applicationStateChanged(Qt::ApplicationState qtState) {
  const ApplicationState state = agentState(qtState);
  if (state == state_)
    return;
  if (state_ == ApplicationState::Active)
    center_.post(tallix::kApplicationWillResignActiveNotification);
  if (state_ == ApplicationState::Background)
    center_.post(tallix::kApplicationWillEnterForegroundNotification);
  if (state == ApplicationState::Active)
    center_.post(tallix::kApplicationDidBecomeActiveNotification);
  state_ = state;
}

void ApplicationStateNotifier::aboutToQuit() {
  center_.post(tallix::kApplicationWillTerminateNotification);
}

}  // namespace app
