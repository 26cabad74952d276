#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

struct RouteListPort {
  std::string name;         // the driver's, e.g. "analog-output-headphones"
  std::string description;  // the person's, e.g. "Headphones"
  bool available = true;    // false when the driver knows nothing is plugged in

  bool operator==(const RouteListPort&) const = default;
};

// One device of the sound server with its ports: a sink (an output), or a source (an input).
struct RouteListEntry {
  std::string name;         // the sink's name on the server, stable across restarts
  std::string description;  // the person's name for the device
  std::string portName;     // what the route is called on screen (see RouteNaming.h)
  std::vector<RouteListPort> ports;
  std::string activePort;  // empty on sinks without ports (virtual ones)
  bool isDefault = false;

  bool operator==(const RouteListEntry&) const = default;
};

class ServerLink;

// The outputs a person can choose between, for the route picker: the server's sinks, the
// current default among them, and the choice of another (see SoundServer.h).
class RouteList {
 public:
  // Posted through the default notification centre, with the list as object, whenever a sink
  // comes, goes or changes, or the default moves. Observers run on the sound server's thread.
  static constexpr std::string_view kRoutesChangedNotification = "OrvaneRouteListChanged";

  // Made by the SoundServer, over its link.
  explicit RouteList(ServerLink& link) : link_(link) {}
  RouteList(const RouteList&) = delete;
  RouteList& operator=(const RouteList&) = delete;

  // The sinks in the server's order; none until the server has answered, or while there is none.
  std::vector<RouteListEntry> routes() const;

  // Makes the sink the default output, switches it to `port` when one is named, and moves every
  // playing stream to it. The completion, if any, runs once with whether the server accepted
  // all of it, never inside this call: on the sound server's thread, or, refused, on the thread
  // destroying the SoundServer while the choice is still open. A refusal is also logged.
  void choose(const std::string& sinkName, const std::string& port = {},
              std::function<void(bool accepted)> completion = {});

 private:
  ServerLink& link_;
};

}  // namespace platform
