#include "platform/pulse/Connection.h"

#include <future>
#include <stdexcept>
#include <utility>

#include "foundation/Console.h"
#include "platform/pulse/Pulse.h"

namespace platform::pulse {
namespace {

constexpr pa_usec_t kRetryInterval = PA_USEC_PER_SEC;

}  // namespace

Connection::Connection(std::string address)
    : address_(std::move(address)),
      mainloop_(pa_threaded_mainloop_new()),
      api_(pa_threaded_mainloop_get_api(mainloop_)) {
  pa_threaded_mainloop_set_name(mainloop_, "orvane-pulse");
}

Connection::~Connection() {
  stop();
  if (context_)
    dropContext();
  pa_threaded_mainloop_free(mainloop_);
}

void Connection::start(std::vector<Client*> clients) {
  clients_ = std::move(clients);
  // The first attempt runs on the loop's thread, like every later one.
  const timeval now = after(0);
  retry_ = api_->time_new(api_, &now, &retryDue, this);
  // libpulse sets up its thread registry lazily, on whichever thread comes first, and
  // publishes it in a way ThreadSanitizer cannot follow. Letting our thread finish that
  // before any caller locks the loop keeps the sanitizer's view exact, for microseconds.
  std::promise<void> running;
  pa_mainloop_api_once(api_, &announce, &running);
  if (pa_threaded_mainloop_start(mainloop_) < 0)
    throw std::runtime_error("cannot start the sound server thread");
  running.get_future().wait();
}

void Connection::stop() {
  pa_threaded_mainloop_stop(mainloop_);
}

pa_context* Connection::readyContext() const {
  return context_ && pa_context_get_state(context_) == PA_CONTEXT_READY ? context_ : nullptr;
}

void Connection::hurry() {
  if (context_)
    return;
  const timeval now = after(0);
  api_->time_restart(retry_, &now);
}

void Connection::announce(pa_mainloop_api*, void* running) {
  static_cast<std::promise<void>*>(running)->set_value();
}

void Connection::retryDue(pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
  static_cast<Connection*>(self)->connect();
}

void Connection::stateChanged(pa_context* context, void* self) {
  auto& connection = *static_cast<Connection*>(self);
  const auto state = pa_context_get_state(context);
  if (state == PA_CONTEXT_READY)
    connection.connected();
  else if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED)
    connection.lost();
}

void Connection::eventArrived(pa_context* context, pa_subscription_event_type_t type,
                              uint32_t index, void* self) {
  for (Client* client : static_cast<Connection*>(self)->clients_)
    if (pa_subscription_match_flags(client->subscriptions(), type))
      client->serverEvent(context, type, index);
}

void Connection::connect() {
  context_ = pa_context_new(api_, "Orvane");
  pa_context_set_state_callback(context_, &stateChanged, this);
  pa_context_set_subscribe_callback(context_, &eventArrived, this);
  const char* server = address_.empty() ? nullptr : address_.c_str();
  if (pa_context_connect(context_, server, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
    lost();
}

// Subscribing before any client asks means no change can slip between an answer and the
// events that follow it.
void Connection::connected() {
  outageReported_ = false;
  forget(pa_context_subscribe(context_, subscriptions(), nullptr, nullptr));
  for (Client* client : clients_)
    client->serverReady(context_);
}

// Also reached a second time for one failure, from pa_context_connect's result.
void Connection::lost() {
  if (!context_)
    return;
  const std::string why = errorText(context_);
  dropContext();
  if (!std::exchange(outageReported_, true))
    foundation::Console::line("Sound server unavailable (" + why + "); trying again every second");
  const timeval retry = after(kRetryInterval);
  api_->time_restart(retry_, &retry);
  for (Client* client : clients_)
    client->serverLost(why);
}

void Connection::dropContext() {
  pa_context_set_state_callback(context_, nullptr, nullptr);
  pa_context_set_subscribe_callback(context_, nullptr, nullptr);
  pa_context_disconnect(context_);
  pa_context_unref(std::exchange(context_, nullptr));
}

pa_subscription_mask_t Connection::subscriptions() const {
  unsigned mask = PA_SUBSCRIPTION_MASK_NULL;
  for (const Client* client : clients_)
    mask |= client->subscriptions();
  return static_cast<pa_subscription_mask_t>(mask);
}

}  // namespace platform::pulse
