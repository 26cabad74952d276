#include "app/AppDelegate.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QMainWindow>
#include <QPalette>
#include <QStyleFactory>
#include <QToolBar>

#include "app/NavController.h"
#include "app/OrvaneTallixApplication.h"
#include "app/OrvaneVC.h"
#include "app/pageviews/ShownPageViewTarget.h"
#include "foundation/Console.h"
#include "tallix/Tallix.h"

namespace app {
namespace {

// Orvane's project in the analytics service.
constexpr const char* kTallixProjectKey = "QF7TNW2XKD94RBLM3VPA";

const QColor kScreenColor(0x14, 0x18, 0x1f);

// White text over the dark screen, in every widget and dialog of the application.
QPalette lightContentPalette() {
  QPalette palette;
  palette.setColor(QPalette::Window, kScreenColor);
  palette.setColor(QPalette::WindowText, Qt::white);
  palette.setColor(QPalette::Base, kScreenColor.lighter(130));
  palette.setColor(QPalette::AlternateBase, kScreenColor.lighter(150));
  palette.setColor(QPalette::Text, Qt::white);
  palette.setColor(QPalette::Button, kScreenColor.lighter(160));
  palette.setColor(QPalette::ButtonText, Qt::white);
  palette.setColor(QPalette::ToolTipBase, kScreenColor.lighter(180));
  palette.setColor(QPalette::ToolTipText, Qt::white);
  palette.setColor(QPalette::Highlight, QColor(0x4a, 0x90, 0xe2));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::PlaceholderText, Qt::gray);
  palette.setColor(QPalette::Disabled, QPalette::Text, Qt::gray);
  palette.setColor(QPalette::Disabled, QPalette::ButtonText, Qt::gray);
  palette.setColor(QPalette::Disabled, QPalette::WindowText, Qt::gray);
  return palette;
}

// Schemes whose addresses open or run something on this machine rather than reach a caller.
bool isLocalScheme(const QString& scheme) {
  static const QStringList local = {"file", "data",       "javascript", "vbscript",   "about",
                                    "blob", "filesystem", "jar",        "view-source"};
  return local.contains(scheme, Qt::CaseInsensitive);
}

// A clear bar with grey titles and white buttons over the dark screen.
void styleNavigationBar(QToolBar& bar) {
  bar.setStyleSheet(
      QStringLiteral("QToolBar { background: transparent; border: none; color: grey; }"
                     "QToolButton { color: white; }"));
}

}  // namespace

AppDelegate::AppDelegate(OrvaneServices services)
    : window_(std::make_unique<QMainWindow>()), mainScreen_(new OrvaneVC(std::move(services))) {
  window_->setWindowTitle(QStringLiteral("Orvane"));
  window_->setCentralWidget(mainScreen_);
  window_->resize(420, 760);
}

// The agent would otherwise keep counting for a bar that is gone.
AppDelegate::~AppDelegate() {
  if (navigationPageViews_)
    tallix::Tallix::stopLogPageViewsForTarget(navigationPageViews_);
}

bool AppDelegate::didFinishLaunching(QApplication& application,
                                     const platform::AnalyticsServer* analyticsServer) {
  application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  application.setPalette(lightContentPalette());
  tallix::Tallix::setApplication(std::make_shared<OrvaneTallixApplication>());
  if (analyticsServer) {
    tallix::Tallix::setSecureTransportEnabled(analyticsServer->secure);
    tallix::Tallix::setServerURL(analyticsServer->hostAndPort);
    // One address for the user to give: the same server also serves the configuration.
    tallix::Tallix::setBeaconServerURL(analyticsServer->configurationUrl());
    tallix::Tallix::setBeaconEnabled(true);
  }
  // A crash shows up at the next start as the crashed former session, with its report.
  tallix::Tallix::setCrashReportingEnabled(true);
  tallix::Tallix::startSession(kTallixProjectKey);
  return true;
}

bool AppDelegate::handleOpenURL(const QUrl& url) {
  const QString absoluteString = url.toString(QUrl::FullyEncoded);
  if (absoluteString == QLatin1String("orvane://"))
    return true;
  const QHash<QString, QString> query = parseQueryString(absoluteString);
  if (query.contains(QStringLiteral("returnURL")))
    returnURL_ = returnAddressFromString(query.value(QStringLiteral("returnURL")));

  // The screen is the window's root, or the root of the bar a previous caller put round it.
  QWidget* root = window_->takeCentralWidget();
  std::unique_ptr<NavController> previous(qobject_cast<NavController*>(root));
  QWidget* screen = previous ? previous->takeRootViewController() : root;
  if (!qobject_cast<OrvaneVC*>(screen))
    qFatal("AppDelegate: the window's root is not the main screen");

  if (navigationPageViews_)
    tallix::Tallix::stopLogPageViewsForTarget(navigationPageViews_);
  auto* navController = new NavController(screen);
  navigationPageViews_ = std::make_shared<ShownPageViewTarget>(navController, screen);
  tallix::Tallix::logAllPageViewsForTarget(navigationPageViews_);
  styleNavigationBar(*navController->navigationBar());
  if (query.contains(QStringLiteral("backButtonTitle"))) {
    auto* back = new QAction(query.value(QStringLiteral("backButtonTitle")));
    connect(back, &QAction::triggered, this, &AppDelegate::launchReturnURL);
    navController->setLeftBarButtonItem(back);
  }
  window_->setCentralWidget(navController);
  window_->show();
  window_->raise();
  window_->activateWindow();
  return true;
}

// The address comes from whichever application opened Orvane; a button without a usable one
// does nothing rather than end Orvane.
void AppDelegate::launchReturnURL() {
  if (!returnURL_) {
    foundation::Console::line("No return address to open");
    return;
  }
  QDesktopServices::openUrl(*returnURL_);
}

QHash<QString, QString> AppDelegate::parseQueryString(const QString& string) {
  const qsizetype mark = string.indexOf(QLatin1Char('?'));
  const QString query = mark < 0 ? string : string.mid(mark + 1);
  QHash<QString, QString> pairs;
  for (const QString& pair : query.split(QLatin1Char('&'))) {
    const qsizetype equals = pair.indexOf(QLatin1Char('='));
    if (equals < 0)
      continue;
    pairs.insert(QUrl::fromPercentEncoding(pair.left(equals).toUtf8()),
                 QUrl::fromPercentEncoding(pair.mid(equals + 1).toUtf8()));
  }
  return pairs;
}

std::optional<QUrl> AppDelegate::returnAddressFromString(const QString& string) {
  const QUrl url(string, QUrl::StrictMode);
  if (!url.isValid() || url.isRelative() || isLocalScheme(url.scheme()))
    return std::nullopt;
  return url;
}

}  // namespace app
