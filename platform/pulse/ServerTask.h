#pragma once

#include <pulse/pulseaudio.h>

#include <string>

namespace platform::pulse {

// A piece of work on the loop's thread that needs the server and ends in a yes or a no, such as
// a record-permission probe or a switch of output.
class ServerTask {
 public:
  class Listener {
   public:
    // Hears the outcome once; may destroy the task.
    virtual void taskSettled(ServerTask& task, bool succeeded, std::string why) = 0;

   protected:
    ~Listener() = default;
  };

  virtual ~ServerTask() = default;

  virtual bool started() const = 0;
  // May settle at once.
  virtual void start(pa_context* context) = 0;
};

}  // namespace platform::pulse
