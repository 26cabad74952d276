#pragma once

#include <QObject>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "foundation/MainExecutor.h"

namespace app {

// Main-queue work waiting for Qt's event loop, under a lock of ours. Qt is only asked, by
// name and with no payload, to run the next item: the work itself never passes through Qt's
// uninstrumented queue, so the thread checker sees every hand-over.
class MainQueueDrain : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;
  void push(std::function<void()> work);
  Q_INVOKABLE void runNext();

 private:
  std::mutex mutex_;
  std::deque<std::function<void()>> work_;
};

// Runs main-queue work on Qt's event loop, in the order it was queued. Made on the main thread.
class QtMainExecutor : public foundation::MainExecutor {
 public:
  QtMainExecutor();

  void post(std::function<void()> work) override;
  bool isMainThread() const override;

 private:
  // Owned by the application, so drain requests still queued never outlive it.
  MainQueueDrain* drain_;
};

}  // namespace app
