#include "platform/pulse/TaskDesk.h"

#include <algorithm>
#include <utility>

namespace platform::pulse {

TaskDesk::~TaskDesk() {
  refuseAll(closingReason_);
}

void TaskDesk::request(const MakeTask& makeTask, Answer answer) {
  const auto lock = connection_.lock();
  ServerTask::Listener& listener = *this;
  requests_.push_back({makeTask(connection_.api(), listener), std::move(answer)});
  pa_mainloop_api_once(connection_.api(), &requestArrived, this);
}

// Someone waits on the answer: worth a fresh attempt rather than a wait for the next retry.
void TaskDesk::requestArrived(pa_mainloop_api*, void* self) {
  auto& desk = *static_cast<TaskDesk*>(self);
  if (pa_context* context = desk.connection_.readyContext())
    desk.serverReady(context);
  else
    desk.connection_.hurry();
}

void TaskDesk::serverReady(pa_context* context) {
  for (auto next = requests_.begin(); next != requests_.end();) {
    ServerTask& task = *(next++)->task;  // starting may settle and erase the task at once
    if (!task.started())
      task.start(context);
  }
}

void TaskDesk::serverLost(const std::string& why) {
  refuseAll("cannot reach the sound server (" + why + ")");
}

void TaskDesk::taskSettled(ServerTask& task, bool succeeded, std::string why) {
  auto settled = std::find_if(requests_.begin(), requests_.end(),
                              [&](const Request& request) { return request.task.get() == &task; });
  Request request = std::move(*settled);
  requests_.erase(settled);
  answer(std::move(request), succeeded, why);
}

void TaskDesk::refuseAll(const std::string& why) {
  auto refused = std::move(requests_);
  requests_.clear();
  for (auto& request : refused)
    answer(std::move(request), false, why);
}

// The task goes first, so the answer may request again without meeting it.
void TaskDesk::answer(Request request, bool succeeded, const std::string& why) {
  request.task.reset();
  request.answer(succeeded, why);
}

}  // namespace platform::pulse
