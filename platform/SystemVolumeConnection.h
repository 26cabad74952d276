#pragma once

#include <string>

#include "platform/SystemVolume.h"
#include "platform/pulse/Connection.h"
#include "platform/pulse/VolumeTracker.h"

namespace platform {

// The volume's link to the sound server, with the default sink's volume it follows.
class SystemVolume::Connection {
 public:
  Connection(std::string address, const void* volume);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  float volume() { return tracker_.current(); }
  void setVolume(float fraction) { tracker_.set(fraction); }

 private:
  pulse::Connection server_;
  pulse::VolumeTracker tracker_;
};

}  // namespace platform
