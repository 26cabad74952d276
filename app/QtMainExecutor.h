#pragma once

#include <QObject>
#include <QPointer>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

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
// It outlives the application object (static agents are destroyed after main returns): work
// posted after that is dropped, and the main thread is still known.
class QtMainExecutor : public foundation::MainExecutor {
 public:
  QtMainExecutor();

  void post(std::function<void()> work) override;
  bool isMainThread() const override;

 private:
  // Owned by the application, so drain requests still queued never outlive it.
  const QPointer<MainQueueDrain> drain_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
};

}  // namespace app
