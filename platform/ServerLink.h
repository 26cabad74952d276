#pragma once

#include <string>

#include "platform/pulse/Connection.h"
#include "platform/pulse/DeviceDirectory.h"
#include "platform/pulse/TaskDesk.h"
#include "platform/pulse/VolumeSetter.h"

namespace platform {

// The application's one link to the sound server and the clients that share it: one thread,
// one context, one subscription, one follower of the devices. The facades reach the server
// through it.
class ServerLink {
 public:
  ServerLink(std::string address, pulse::DeviceDirectory::Objects objects);
  // Stops the link's thread, so no client hears from it while they go.
  ~ServerLink();
  ServerLink(const ServerLink&) = delete;
  ServerLink& operator=(const ServerLink&) = delete;

  // Starts talking to the server; the clients' owners must exist by then.
  void start();

  const pulse::DeviceDirectory& devices() const { return devices_; }
  pulse::VolumeSetter& volumeSetter() { return volumeSetter_; }
  pulse::TaskDesk& permissions() { return permissions_; }
  pulse::TaskDesk& outputSwitches() { return outputSwitches_; }

 private:
  pulse::Connection server_;
  pulse::DeviceDirectory devices_;
  pulse::VolumeSetter volumeSetter_;
  pulse::TaskDesk permissions_;
  pulse::TaskDesk outputSwitches_;
};

}  // namespace platform
