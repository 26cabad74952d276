#pragma once

#include <memory>
#include <string>

#include "app/ControlConnection.h"

namespace platform {
class RouteList;
}

namespace app {

class OrvaneVC;

// Carries out the remote's requests on the main screen, as the person's clicks would: the
// effect and tone buttons show what the remote chose, and announcements go through the same
// engine. Files to play are checked off the GUI thread, on the screen's audioQ.
class RemoteCommands {
 public:
  RemoteCommands(OrvaneVC& screen, platform::RouteList& routes);

  // A ControlConnection::Handler.
  void perform(const control::ControlProtocol::Request& request, ControlConnection::Answer answer);

 private:
  std::string status() const;
  std::string output() const;
  std::string setEffect(const std::string& name);
  std::string setTone(const std::string& state);
  std::string replay();
  void play(const std::string& path, ControlConnection::Answer answer);
  // Why the engine cannot announce now, or nothing.
  std::string announcementRefusal() const;

  OrvaneVC& screen_;
  platform::RouteList& routes_;
};

}  // namespace app
