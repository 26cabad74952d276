#pragma once

#include <list>

#include "ChildProcess.h"

namespace e2e {

// Other programs keeping the processor busy while it lives, as a build or a video call would:
// each process spins on a core of its own for as long as the scheduler lets it.
class CpuLoad {
 public:
  explicit CpuLoad(int processes);

 private:
  std::list<ChildProcess> spinners_;
};

}  // namespace e2e
