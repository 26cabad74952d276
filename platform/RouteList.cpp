#include "platform/RouteList.h"

#include <utility>

#include "foundation/Console.h"
#include "platform/ServerLink.h"
#include "platform/pulse/OutputSwitch.h"

namespace platform {

std::vector<RouteListEntry> RouteList::routes() const {
  return link_.devices().routes();
}

void RouteList::choose(const std::string& sinkName, const std::string& port,
                       std::function<void(bool accepted)> completion) {
  const auto makeSwitch = [&](pa_mainloop_api* api, pulse::ServerTask::Listener& listener) {
    return std::make_unique<pulse::OutputSwitch>(api, listener, sinkName, port);
  };
  link_.outputSwitches().request(makeSwitch, [sinkName, completion = std::move(completion)](
                                                 bool accepted, const std::string& why) {
    if (!accepted)
      foundation::Console::line("Cannot switch output to " + sinkName + ": " + why);
    if (completion)
      completion(accepted);
  });
}

}  // namespace platform
