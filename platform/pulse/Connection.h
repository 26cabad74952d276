#pragma once

#include <pulse/pulseaudio.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/pulse/MainloopLock.h"

namespace platform::pulse {

// One link to the sound server, on a thread of its own. It connects, and reconnects every
// second after a failure or a lost server, without ever making a caller wait. The classes that
// talk to the server are its clients: they share its context and its event subscription.
class Connection {
 public:
  // Hears from the connection on the loop's thread.
  class Client {
   public:
    // The server answers on `context`; called after every connection.
    virtual void serverReady(pa_context* context) = 0;
    // The server went away or could not be reached; `why` is for a log line.
    virtual void serverLost(const std::string& why) = 0;
    // The server's events this client wants to hear of in serverEvent().
    virtual pa_subscription_mask_t subscriptions() const { return PA_SUBSCRIPTION_MASK_NULL; }
    virtual void serverEvent(pa_context*, pa_subscription_event_type_t, uint32_t /*index*/) {}

   protected:
    ~Client() = default;
  };

  // An empty address means the user's own server ($PULSE_SERVER or the default).
  explicit Connection(std::string address);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Starts the loop's thread, which tells the clients in this order. They must outlive it:
  // their owner calls stop() before they go.
  void start(std::vector<Client*> clients);
  // Ends the loop's thread; not to be called from it.
  void stop();

  pa_mainloop_api* api() const { return api_; }
  // Taken off the loop's thread before touching anything its callbacks use.
  [[nodiscard]] MainloopLock lock() const { return MainloopLock(mainloop_); }

  // On the loop's thread or under its lock: the context while the server is ready, null otherwise.
  pa_context* readyContext() const;
  // On the loop's thread or under its lock, when something waits for the server: unless an attempt
  // is under way, try now rather than at the next retry.
  void hurry();

 private:
  static void announce(pa_mainloop_api*, void* running);
  static void retryDue(pa_mainloop_api*, pa_time_event*, const timeval*, void* self);
  static void stateChanged(pa_context* context, void* self);
  static void eventArrived(pa_context* context, pa_subscription_event_type_t type, uint32_t index,
                           void* self);

  void connect();
  void connected();
  void lost();
  void dropContext();
  pa_subscription_mask_t subscriptions() const;

  const std::string address_;
  pa_threaded_mainloop* const mainloop_;
  pa_mainloop_api* const api_;
  pa_time_event* retry_ = nullptr;
  pa_context* context_ = nullptr;
  bool outageReported_ = false;
  std::vector<Client*> clients_;
};

}  // namespace platform::pulse
