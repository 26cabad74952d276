#include "app/OrvaneTallixApplication.h"

#include <QGuiApplication>

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

}  // namespace app
