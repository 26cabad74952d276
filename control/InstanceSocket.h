#pragma once

#include <string>

namespace control {

// Where the running Orvane listens, for itself and for its remote alike: $XDG_RUNTIME_DIR/
// orvane-instance; without that variable /run/user/<uid>/orvane-instance when the directory
// exists, else orvane-instance-<uid> in $TMPDIR (or /tmp).
class InstanceSocket {
 public:
  InstanceSocket() = delete;
  static std::string defaultPath();
};

}  // namespace control
