#include "CpuLoad.h"

namespace e2e {

CpuLoad::CpuLoad(int processes) {
  for (int process = 0; process < processes; ++process)
    spinners_.emplace_back(Command{{"sh", "-c", "while :; do :; done"}, {}});
}

}  // namespace e2e
