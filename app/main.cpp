// Orvane: hold Talk, speak, let go, and the announcement plays through the chosen output.
#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QLibraryInfo>
#include <QMainWindow>
#include <QTranslator>
#include <cstdio>

#include "app/AppDelegate.h"
#include "app/ApplicationStateNotifier.h"
#include "app/DetectableKeyRepeat.h"
#include "app/FirstFrameReporter.h"
#include "app/QtMainExecutor.h"
#include "app/RemoteCommands.h"
#include "app/SingleInstance.h"
#include "app/TerminationSignals.h"
#include "foundation/DispatchQueue.h"
#include "foundation/NotificationCenter.h"
#include "platform/AnalyticsServer.h"
#include "platform/SoundServer.h"

namespace {

void installTranslations(QApplication& application) {
  for (auto [name, directory] :
       {std::pair{"orvane", QStringLiteral(":/i18n")},
        std::pair{"qtbase", QLibraryInfo::path(QLibraryInfo::TranslationsPath)}}) {
    auto* translator = new QTranslator(&application);
    if (translator->load(QLocale(), QLatin1String(name), QStringLiteral("_"), directory))
      application.installTranslator(translator);
  }
}

// What Orvane was opened with, for the analytics session's launch options.
foundation::Value launchOptions(const QStringList& urls) {
  foundation::Value::Dictionary options;
  if (!urls.isEmpty()) {
    foundation::Value::Array addresses;
    for (const QString& url : urls)
      addresses.emplace_back(url.toStdString());
    options.emplace("url", std::move(addresses));
  }
  return foundation::Value(std::move(options));
}

void openURLs(app::AppDelegate& delegate, const QStringList& urls) {
  for (const QString& url : urls)
    delegate.handleOpenURL(QUrl(url));
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Orvane"));
  QApplication::setApplicationVersion(QStringLiteral(ORVANE_VERSION));
  QGuiApplication::setDesktopFileName(QStringLiteral("orvane"));
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/orvane.png")));
  app::enableDetectableKeyRepeat();

  QCommandLineParser parser;
  parser.setApplicationDescription(
      QStringLiteral("Hold Talk, speak, let go: Orvane announces it through the chosen output."));
  parser.addHelpOption();
  parser.addVersionOption();
  const QCommandLineOption reportFirstFrame(
      QStringLiteral("report-first-frame"),
      QStringLiteral("Print \"First frame painted\" once the window has been drawn."));
  parser.addOption(reportFirstFrame);
  const QCommandLineOption analyticsServer(
      QStringLiteral("analytics-server"),
      QStringLiteral("Send usage reports to this server, e.g. http://127.0.0.1:8080 "
                     "(default: $%1; with neither, reports stay on this machine).")
          .arg(QLatin1String(platform::AnalyticsServer::kEnvironmentVariable)),
      QStringLiteral("address"));
  parser.addOption(analyticsServer);
  parser.addPositionalArgument(QStringLiteral("url"),
                               QStringLiteral("orvane:// addresses to open."),
                               QStringLiteral("[url...]"));
  parser.process(application);
  const QStringList urls = parser.positionalArguments();
  const auto server = platform::AnalyticsServer::fromSettings(
      parser.isSet(analyticsServer) ? std::optional(parser.value(analyticsServer).toStdString())
                                    : std::nullopt);
  if (const auto* problem = std::get_if<std::string>(&server)) {
    std::fprintf(stderr, "orvane: analytics server: %s\n", problem->c_str());
    return 2;
  }

  app::SingleInstance instance;
  if (instance.sendToRunningInstance(urls))
    return 0;
  instance.listen();
  // Linked now, the sound server has answered by the time the screen first shows the route.
  platform::SoundServer::shared();

  installTranslations(application);
  new app::TerminationSignals(&application);
  foundation::DispatchQueue::installMainExecutor(std::make_shared<app::QtMainExecutor>());
  auto* lifecycle = new app::ApplicationStateNotifier(
      foundation::NotificationCenter::defaultCenter(), application);
  app::AppDelegate delegate;
  delegate.didFinishLaunching(application, std::get_if<platform::AnalyticsServer>(&server));
  lifecycle->didFinishLaunching(launchOptions(urls));
  QObject::connect(&instance, &app::SingleInstance::messagesReceived, &delegate,
                   [&delegate](const QStringList& messages) {
                     openURLs(delegate, messages);
                     delegate.window()->raise();
                     delegate.window()->activateWindow();
                   });
  app::RemoteCommands remote(delegate.mainScreen(), platform::SoundServer::shared().routes());
  instance.setRequestHandler(
      [&remote](const auto& request, auto answer) { remote.perform(request, std::move(answer)); });
  if (parser.isSet(reportFirstFrame))
    new app::FirstFrameReporter(delegate.window());
  delegate.window()->show();
  openURLs(delegate, urls);
  return application.exec();
}
