#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>

#include "platform/pulse/Connection.h"
#include "platform/pulse/ServerTask.h"

namespace platform::pulse {

// The open requests of one kind (permission questions, output switches), each carried out by
// its own task once the server is there and answered exactly once.
class TaskDesk : public Connection::Client, private ServerTask::Listener {
 public:
  using MakeTask =
      std::function<std::unique_ptr<ServerTask>(pa_mainloop_api*, ServerTask::Listener&)>;
  // `why` says what failed, for a log line.
  using Answer = std::function<void(bool succeeded, const std::string& why)>;

  // `closingReason` is the refusal of requests still open when the desk goes.
  TaskDesk(Connection& connection, std::string closingReason)
      : connection_(connection), closingReason_(std::move(closingReason)) {}
  // Refuses whatever is still open, on the destroying thread; the loop must have stopped.
  ~TaskDesk();
  TaskDesk(const TaskDesk&) = delete;
  TaskDesk& operator=(const TaskDesk&) = delete;

  // From any thread. The answer runs on the loop's thread, never inside this call.
  void request(const MakeTask& makeTask, Answer answer);

 private:
  struct Request {
    std::unique_ptr<ServerTask> task;
    Answer answer;
  };

  static void requestArrived(pa_mainloop_api*, void* self);
  static void answer(Request request, bool succeeded, const std::string& why);

  void serverReady(pa_context* context) override;
  void serverLost(const std::string& why) override;
  void taskSettled(ServerTask& task, bool succeeded, std::string why) override;
  void refuseAll(const std::string& why);

  Connection& connection_;
  const std::string closingReason_;
  std::list<Request> requests_;
};

}  // namespace platform::pulse
