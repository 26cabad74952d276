#pragma once

#include <functional>
#include <string>

#include "platform/AudioSession.h"
#include "platform/pulse/Connection.h"
#include "platform/pulse/RouteTracker.h"
#include "platform/pulse/TaskDesk.h"

namespace platform {

// The session's link to the sound server, with the route it follows and the permission
// questions it answers.
class AudioSession::Connection {
 public:
  Connection(std::string address, const void* session);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  AudioSessionRouteDescription route() { return routes_.current(); }
  void requestRecordPermission(std::function<void(bool granted)> completion);

 private:
  pulse::Connection server_;
  pulse::RouteTracker routes_;
  pulse::TaskDesk permissions_;
};

}  // namespace platform
