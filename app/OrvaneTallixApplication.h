#pragma once

#include <QObject>
#include <atomic>

#include "tallix/TallixApplication.h"

class QScreen;

namespace app {

// Orvane as the analytics agent sees it: its state is the Qt application's, its data lives in
// $XDG_DATA_HOME/Orvane beside the takes.
class OrvaneTallixApplication : public tallix::TallixApplication {
 public:
  // Made on the GUI thread: the screen is followed there, since the agent asks for its size on
  // its own queue, where Qt's screens must not be touched.
  OrvaneTallixApplication();

  tallix::ApplicationState applicationState() const override;
  std::string bundleIdentifier() const override { return "org.orvane.Orvane"; }
  std::string bundleVersion() const override;
  std::filesystem::path dataDirectory() const override;
  tallix::ScreenSize screenSize() const override { return screenSize_.load(); }

 private:
  void follow(QScreen* screen);
  void measure(const QScreen* screen);

  // Owns the connections, so none outlives this object.
  QObject context_;
  QMetaObject::Connection geometryConnection_;
  std::atomic<tallix::ScreenSize> screenSize_;
};

}  // namespace app
