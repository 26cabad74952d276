#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <chrono>
#include <functional>

#include "Eventually.h"

namespace views {

// Waits with the event loop running, since widgets hear of other threads through it.
inline bool eventuallyShown(const std::function<bool()>& condition,
                            std::chrono::milliseconds limit = std::chrono::seconds(10)) {
  return foundation::eventually(
      [&] {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return condition();
      },
      limit);
}

}  // namespace views
