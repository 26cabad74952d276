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

audio::OrvaneEngineConfiguration ScreenHarness::testDevices(
    SoundServer& server, const std::filesystem::path& documents) {
  audio::OrvaneEngineConfiguration devices;
  devices.documentsDirectory = documents;
  devices.startTonePath = ORVANE_START_TONE;
  devices.sourceDescription = "audiotestsrc is-live=true wave=sine freq=440 volume=0.5";
  devices.sinkDescription = "fakesink sync=true";
  devices.session = &server.session();
  return devices;
}

ScreenHarness::ScreenHarness(SoundServer& server, bool demoMode, AwaitEngine awaitEngine) {
  OrvaneServices services =
      OrvaneServices::of(server, [devices = testDevices(server, documents_.path())] {
        return std::make_shared<audio::OrvaneEngine>(devices);
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
