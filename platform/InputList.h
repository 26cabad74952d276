#pragma once

#include <string_view>
#include <vector>

#include "platform/RouteList.h"

namespace platform {

class ServerLink;

// The inputs a person can record from, for the microphone picker: the server's sources less the
// monitors of its outputs, each named as the server describes it, the default among them marked
// (see SoundServer.h). Choosing one is the recorder's business, not the server's: the server's
// default stays as the person's desktop set it.
class InputList {
 public:
  // Posted through the default notification centre, with the list as object, whenever a source
  // comes, goes or changes, or the default moves. Observers run on the sound server's thread.
  static constexpr std::string_view kInputsChangedNotification = "OrvaneInputListChanged";

  // Made by the SoundServer, over its link.
  explicit InputList(ServerLink& link) : link_(link) {}
  InputList(const InputList&) = delete;
  InputList& operator=(const InputList&) = delete;

  // The sources in the server's order; none until the server has answered.
  std::vector<RouteListEntry> inputs() const;

 private:
  ServerLink& link_;
};

}  // namespace platform
