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

OrvaneTallixApplication::OrvaneTallixApplication() {
  if (!qGuiApp)
    return;
  follow(QGuiApplication::primaryScreen());
  QObject::connect(qGuiApp, &QGuiApplication::primaryScreenChanged, &context_,
                   [this](QScreen* screen) { follow(screen); });
}

void OrvaneTallixApplication::follow(QScreen* screen) {
  QObject::disconnect(geometryConnection_);
  measure(screen);
  if (screen) {
    geometryConnection_ = QObject::connect(screen, &QScreen::geometryChanged, &context_,
                                           [this, screen] { measure(screen); });
  }
}

// In device pixels, as a phone reports its screen.
void OrvaneTallixApplication::measure(const QScreen* screen) {
  if (!screen) {
    screenSize_ = tallix::ScreenSize{};
    return;
  }
  const QSize size = screen->size() * screen->devicePixelRatio();
  screenSize_ = tallix::ScreenSize{size.width(), size.height()};
}

}  // namespace app
