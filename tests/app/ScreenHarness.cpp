#include "ScreenHarness.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QTest>

#include "app/QtMainExecutor.h"

namespace app::testing {

MainQueueOnEventLoop::MainQueueOnEventLoop() {
  foundation::DispatchQueue::installMainExecutor(std::make_shared<QtMainExecutor>());
}

MainQueueOnEventLoop::~MainQueueOnEventLoop() {
  foundation::DispatchQueue::installMainExecutor(nullptr);
}

audio::OrvaneEngineConfiguration ScreenHarness::testDevices(SoundServer& server,
                                                            const std::filesystem::path& documents,
                                                            const EngineDevices& devices) {
  audio::OrvaneEngineConfiguration configuration;
  configuration.documentsDirectory = documents;
  configuration.startTonePath = ORVANE_START_TONE;
  configuration.sourceDescription = devices.source;
  configuration.sinkDescription = devices.sink;
  configuration.session = &server.session();
  return configuration;
}

ScreenHarness::ScreenHarness(SoundServer& server, bool demoMode, AwaitEngine awaitEngine,
                             EngineDevices devices) {
  OrvaneServices services =
      OrvaneServices::of(server, [configuration = testDevices(server, documents_.path(), devices)] {
        return std::make_shared<audio::OrvaneEngine>(configuration);
      });
  screen_ = std::make_unique<OrvaneVC>(services, nullptr, demoMode);
  screen_->resize(420, 760);
  screen_->show();
  if (awaitEngine == AwaitEngine::Yes) {
    EXPECT_TRUE(eventuallyShown([this] { return screen_->orvane() != nullptr; }))
        << "the engine never arrived";
  }
}

ScreenHarness::~ScreenHarness() {
  for (QMessageBox* alert : alerts())
    delete alert;
  screen_.reset();
}

std::vector<QMessageBox*> ScreenHarness::alerts() const {
  std::vector<QMessageBox*> open;
  for (QMessageBox* alert : screen_->findChildren<QMessageBox*>()) {
    if (alert->isVisible())
      open.push_back(alert);
  }
  return open;
}

void ScreenHarness::tap(QMessageBox& alert, const QString& buttonTitle) {
  for (QAbstractButton* button : alert.buttons()) {
    if (button->text() == buttonTitle)
      return QTest::mouseClick(button, Qt::LeftButton);
  }
  ADD_FAILURE() << "no button " << buttonTitle.toStdString() << " in "
                << alert.windowTitle().toStdString();
}

}  // namespace app::testing
