#include "platform/pulse/SwitchDesk.h"

#include <algorithm>
#include <utility>

#include "foundation/Console.h"

namespace platform::pulse {

SwitchDesk::~SwitchDesk() {
  refuseAll("the route list closed before the sound server answered");
}

void SwitchDesk::request(std::string sink, std::string port, Completion completion) {
  const auto lock = connection_.lock();
  OutputSwitch::Listener& listener = *this;
  requests_.push_back({std::make_unique<OutputSwitch>(connection_.api(), listener, std::move(sink),
                                                      std::move(port)),
                       std::move(completion)});
  pa_mainloop_api_once(connection_.api(), &requestArrived, this);
}

// A person waits on the choice: worth a fresh attempt rather than a wait for the next retry.
void SwitchDesk::requestArrived(pa_mainloop_api*, void* self) {
  auto& desk = *static_cast<SwitchDesk*>(self);
  if (pa_context* context = desk.connection_.readyContext())
    desk.serverReady(context);
  else
    desk.connection_.hurry();
}

void SwitchDesk::serverReady(pa_context* context) {
  for (auto next = requests_.begin(); next != requests_.end();) {
    OutputSwitch& change = *(next++)->change;  // starting may settle and erase the switch at once
    if (!change.started())
      change.start(context);
  }
}

void SwitchDesk::serverLost(const std::string& why) {
  refuseAll("cannot reach the sound server (" + why + ")");
}

void SwitchDesk::switchSettled(OutputSwitch& change, bool accepted, std::string why) {
  auto settled = std::find_if(requests_.begin(), requests_.end(), [&](const Request& request) {
    return request.change.get() == &change;
  });
  Request request = std::move(*settled);
  requests_.erase(settled);
  answer(std::move(request), accepted, why);
}

void SwitchDesk::refuseAll(const std::string& why) {
  auto refused = std::move(requests_);
  requests_.clear();
  for (auto& request : refused)
    answer(std::move(request), false, why);
}

// The switch goes first, so the completion may choose again without meeting it.
void SwitchDesk::answer(Request request, bool accepted, const std::string& why) {
  const std::string sink = request.change->sink();
  request.change.reset();
  if (!accepted)
    foundation::Console::line("Cannot switch output to " + sink + ": " + why);
  if (request.completion)
    request.completion(accepted);
}

}  // namespace platform::pulse
