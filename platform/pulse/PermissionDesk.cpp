#include "platform/pulse/PermissionDesk.h"

#include <algorithm>
#include <utility>

#include "foundation/Console.h"

namespace platform::pulse {

PermissionDesk::~PermissionDesk() {
  refuseAll("the audio session closed before the sound server answered");
}

void PermissionDesk::request(Completion completion) {
  const auto lock = connection_.lock();
  RecordProbe::Listener& listener = *this;
  requests_.push_back(
      {std::make_unique<RecordProbe>(connection_.api(), listener), std::move(completion)});
  pa_mainloop_api_once(connection_.api(), &requestArrived, this);
}

// A question is worth a fresh attempt rather than a wait for the next retry.
void PermissionDesk::requestArrived(pa_mainloop_api*, void* self) {
  auto& desk = *static_cast<PermissionDesk*>(self);
  if (pa_context* context = desk.connection_.readyContext())
    desk.serverReady(context);
  else
    desk.connection_.hurry();
}

void PermissionDesk::serverReady(pa_context* context) {
  for (auto next = requests_.begin(); next != requests_.end();) {
    RecordProbe& probe = *(next++)->probe;  // starting may settle and erase the probe at once
    if (!probe.started())
      probe.start(context);
  }
}

void PermissionDesk::serverLost(const std::string& why) {
  refuseAll("cannot reach the sound server (" + why + ")");
}

void PermissionDesk::probeSettled(RecordProbe& probe, bool granted, std::string why) {
  auto settled = std::find_if(requests_.begin(), requests_.end(), [&](const Request& request) {
    return request.probe.get() == &probe;
  });
  Request request = std::move(*settled);
  requests_.erase(settled);
  answer(std::move(request), granted, why);
}

void PermissionDesk::refuseAll(const std::string& why) {
  auto refused = std::move(requests_);
  requests_.clear();
  for (auto& request : refused)
    answer(std::move(request), false, why);
}

// The probe goes first, so the completion may ask again without meeting it.
void PermissionDesk::answer(Request request, bool granted, const std::string& why) {
  request.probe.reset();
  if (!granted)
    foundation::Console::line("No microphone: " + why);
  request.completion(granted);
}

}  // namespace platform::pulse
