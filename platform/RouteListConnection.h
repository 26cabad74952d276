#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/RouteList.h"
#include "platform/pulse/Connection.h"
#include "platform/pulse/SinkDirectory.h"
#include "platform/pulse/TaskDesk.h"

namespace platform {

// The list's link to the sound server, with the sinks it follows and the choices it carries out.
class RouteList::Connection {
 public:
  Connection(std::string address, const void* list);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  std::vector<RouteListEntry> routes() { return sinks_.current(); }
  void choose(std::string sink, std::string port, std::function<void(bool accepted)> completion);

 private:
  pulse::Connection server_;
  pulse::SinkDirectory sinks_;
  pulse::TaskDesk switches_;
};

}  // namespace platform
