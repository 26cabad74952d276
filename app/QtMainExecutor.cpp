#include "app/QtMainExecutor.h"

#include <QCoreApplication>

namespace app {

void MainQueueDrain::push(std::function<void()> work) {
  {
    std::lock_guard lock(mutex_);
    work_.push_back(std::move(work));
  }
  QMetaObject::invokeMethod(this, "runNext", Qt::QueuedConnection);
}

void MainQueueDrain::runNext() {
  std::function<void()> work;
  {
    std::lock_guard lock(mutex_);
    work = std::move(work_.front());
    work_.pop_front();
  }
  work();
}

QtMainExecutor::QtMainExecutor() : drain_(new MainQueueDrain(QCoreApplication::instance())) {}

void QtMainExecutor::post(std::function<void()> work) {
  if (drain_)
    drain_->push(std::move(work));
}

bool QtMainExecutor::isMainThread() const {
  return std::this_thread::get_id() == mainThread_;
}

}  // namespace app
