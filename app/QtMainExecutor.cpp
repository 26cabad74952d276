#include "app/QtMainExecutor.h"

#include <QCoreApplication>
#include <QThread>

namespace app {

void QtMainExecutor::post(std::function<void()> work) {
  QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(work), Qt::QueuedConnection);
}

bool QtMainExecutor::isMainThread() const {
  return QThread::currentThread() == QCoreApplication::instance()->thread();
}

}  // namespace app
