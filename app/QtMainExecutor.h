#pragma once

#include "foundation/MainExecutor.h"

namespace app {

// Runs main-queue work on Qt's event loop, in the order it was queued.
class QtMainExecutor : public foundation::MainExecutor {
 public:
  void post(std::function<void()> work) override;
  bool isMainThread() const override;
};

}  // namespace app
