#pragma once

#include <pulse/pulseaudio.h>

#include <string>
#include <vector>

#include "platform/pulse/ServerTask.h"

namespace platform::pulse {

// One choice of output, carried out on the loop's thread: the sink becomes the default, takes
// the named port, and receives every playing stream, in that order, each step only after the
// one before it succeeded. Gives up when the server has not answered within a few seconds.
class OutputSwitch : public ServerTask {
 public:
  // An empty port leaves the sink's port as it is.
  OutputSwitch(pa_mainloop_api* api, Listener& listener, std::string sink, std::string port);
  ~OutputSwitch() override;
  OutputSwitch(const OutputSwitch&) = delete;
  OutputSwitch& operator=(const OutputSwitch&) = delete;

  bool started() const override { return context_ != nullptr; }
  void start(pa_context* context) override;

 private:
  static void defaultSet(pa_context* context, int success, void* self);
  static void portSet(pa_context* context, int success, void* self);
  static void streamFound(pa_context* context, const pa_sink_input_info* stream, int eol,
                          void* self);
  static void streamMoved(pa_context* context, int success, void* self);
  static void deadlinePassed(pa_mainloop_api*, pa_time_event*, const timeval*, void* self);

  void setPort();
  void moveStreams();
  void finishIfMoved();
  void track(pa_operation* operation);
  void settle(bool accepted, std::string why);

  pa_mainloop_api* api_;
  Listener& listener_;
  const std::string sink_;
  const std::string port_;
  pa_time_event* deadline_;
  pa_context* context_ = nullptr;
  // Every request made, so none can call back into a switch that has gone.
  std::vector<pa_operation*> operations_;
  bool listed_ = false;
  int moving_ = 0;
};

}  // namespace platform::pulse
