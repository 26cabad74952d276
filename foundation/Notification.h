#pragma once

#include <string>

#include "foundation/Value.h"

namespace foundation {

struct Notification {
  std::string name;
  // Identifies the sender; observers may ask for one sender only. Never dereferenced here.
  const void* object = nullptr;
  Value userInfo;
};

}  // namespace foundation
