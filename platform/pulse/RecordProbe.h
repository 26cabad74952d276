#pragma once

#include <pulse/pulseaudio.h>

#include <string>

#include "platform/pulse/ServerTask.h"

namespace platform::pulse {

// One look at whether we could record: the default source must exist, must not be the monitor
// of an output, and must accept a record stream. Lives on the loop's thread, and gives up when
// the server has not answered within a few seconds.
class RecordProbe : public ServerTask {
 public:
  RecordProbe(pa_mainloop_api* api, Listener& listener);
  ~RecordProbe() override;
  RecordProbe(const RecordProbe&) = delete;
  RecordProbe& operator=(const RecordProbe&) = delete;

  bool started() const override { return context_ != nullptr; }
  void start(pa_context* context) override;

 private:
  static void sourceFound(pa_context*, const pa_source_info* source, int eol, void* self);
  static void streamStateChanged(pa_stream* stream, void* self);
  static void deadlinePassed(pa_mainloop_api*, pa_time_event*, const timeval*, void* self);
  static void closeWhenSettled(pa_stream* stream, void*);

  void check(const pa_source_info& source);
  void openStream();
  void refuseStream();
  void endLookup();
  void closeStream();
  void settle(bool granted, std::string why);

  pa_mainloop_api* api_;
  Listener& listener_;
  pa_time_event* deadline_;
  pa_context* context_ = nullptr;
  pa_operation* lookup_ = nullptr;
  pa_stream* stream_ = nullptr;
  std::string sourceName_;
};

}  // namespace platform::pulse
