#include "platform/RouteListConnection.h"

#include <utility>

#include "foundation/Console.h"
#include "platform/pulse/OutputSwitch.h"

namespace platform {

RouteList::Connection::Connection(std::string address, const void* list)
    : server_(std::move(address)),
      sinks_(list),
      switches_(server_, "the route list closed before the sound server answered") {
  server_.start({&sinks_, &switches_});
}

// The clients must not hear from the server's thread while they are destroyed.
RouteList::Connection::~Connection() {
  server_.stop();
}

void RouteList::Connection::choose(std::string sink, std::string port,
                                   std::function<void(bool accepted)> completion) {
  const auto makeSwitch = [&](pa_mainloop_api* api, pulse::ServerTask::Listener& listener) {
    return std::make_unique<pulse::OutputSwitch>(api, listener, sink, std::move(port));
  };
  switches_.request(makeSwitch, [sink, completion = std::move(completion)](bool accepted,
                                                                           const std::string& why) {
    if (!accepted)
      foundation::Console::line("Cannot switch output to " + sink + ": " + why);
    if (completion)
      completion(accepted);
  });
}

}  // namespace platform
