#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QUrl>
#include <memory>
#include <optional>

#include "platform/AnalyticsServer.h"
#include "app/OrvaneServices.h"

class QApplication;
class QMainWindow;

namespace tallix {
class TallixPageViewTarget;
}

namespace app {

class OrvaneVC;

// Starts Orvane and answers its URL scheme. A caller may open
//   orvane://?returnURL=<its own address>&backButtonTitle=<title>
// and Orvane then shows a bar with a button of that title which opens the address again.
class AppDelegate : public QObject {
  Q_OBJECT

 public:
  // Builds the window with the main screen in it, as the main interface describes, not shown.
  explicit AppDelegate(OrvaneServices services = OrvaneServices::shared());
  ~AppDelegate() override;

  QMainWindow* window() const { return window_.get(); }
  // The main screen, inside the window or inside a caller's bar, for the window's lifetime.
  OrvaneVC& mainScreen() const { return *mainScreen_; }
  const std::optional<QUrl>& returnURL() const { return returnURL_; }

  // Gives the application its dark look, with light text over the dark screen, and starts the
  // analytics session, reporting to the server when one is given.
  bool didFinishLaunching(QApplication& application,
                          const platform::AnalyticsServer* analyticsServer = nullptr);
  bool handleOpenURL(const QUrl& url);
  void launchReturnURL();

  // The pairs after the first "?" (or of the whole text), split at "&" and then at the first
  // "=", percent-decoded; a later key replaces an earlier one, and a pair without "=" is skipped.
  static QHash<QString, QString> parseQueryString(const QString& string);
  // An address Orvane will open for a caller: absolute and well formed, and not one that
  // would open or run something on this machine (file:, data:, javascript: and the like).
  static std::optional<QUrl> returnAddressFromString(const QString& string);

 private:
  std::unique_ptr<QMainWindow> window_;
  OrvaneVC* mainScreen_;
  std::optional<QUrl> returnURL_;
  // The navigation bar's pages, counted while the bar is up.
  std::shared_ptr<tallix::TallixPageViewTarget> navigationPageViews_;
};

}  // namespace app
