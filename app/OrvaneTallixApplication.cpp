#include "app/OrvaneTallixApplication.h"

#include <QGuiApplication>
#include <QScreen>

#include "app/ApplicationStateNotifier.h"
#include "foundation/ApplicationPaths.h"

namespace app {

tallix::ApplicationState OrvaneTallixApplication::applicationState() const {
  return ApplicationStateNotifier::agentState(QGuiApplication::applicationState());
}

std::string OrvaneTallixApplication::bundleVersion() const {
  return QCoreApplication::applicationVersion().toStdString();
}

std::filesystem::path OrvaneTallixApplication::dataDirectory() const {
  return foundation::ApplicationPaths("Orvane").dataDirectory();
}

// In device pixels, as a phone reports its screen.
tallix::ScreenSize OrvaneTallixApplication::screenSize() const {
  const QScreen* screen = QGuiApplication::primaryScreen();
  if (!screen)
    return {};
  const QSize size = screen->size() * screen->devicePixelRatio();
  return {size.width(), size.height()};
}

}  // namespace app
