#include "platform/AudioSession.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <future>
#include <list>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

#include "foundation/Console.h"
#include "foundation/NotificationCenter.h"

namespace platform {
namespace {

using Completion = std::function<void(bool granted)>;

constexpr pa_usec_t kRetryInterval = PA_USEC_PER_SEC;
constexpr pa_usec_t kAnswerLimit = 3 * PA_USEC_PER_SEC;
constexpr auto kFirstRouteWait = std::chrono::seconds(1);

timeval after(pa_usec_t delay) {
  timeval when;
  pa_gettimeofday(&when);
  return *pa_timeval_add(&when, delay);
}

std::string errorText(pa_context* context) {
  return pa_strerror(pa_context_errno(context));
}

void forget(pa_operation* operation) {
  if (operation)
    pa_operation_unref(operation);
}

// The loop's own callbacks already hold its lock, and they may call back into the session
// (a completion asking again, an observer reading the route).
class MainloopLock {
 public:
  explicit MainloopLock(pa_threaded_mainloop* mainloop)
      : mainloop_(pa_threaded_mainloop_in_thread(mainloop) ? nullptr : mainloop) {
    if (mainloop_)
      pa_threaded_mainloop_lock(mainloop_);
  }
  ~MainloopLock() {
    if (mainloop_)
      pa_threaded_mainloop_unlock(mainloop_);
  }
  MainloopLock(const MainloopLock&) = delete;
  MainloopLock& operator=(const MainloopLock&) = delete;

 private:
  pa_threaded_mainloop* mainloop_;
};

std::string sinkDescription(const pa_sink_info& sink) {
  return sink.description && *sink.description ? sink.description : sink.name;
}

// Bluetooth and USB devices are named better by the device than by one of its ports.
bool onInternalCard(const pa_sink_info& sink) {
  if (sink.card == PA_INVALID_INDEX)
    return false;
  const char* bus = pa_proplist_gets(sink.proplist, PA_PROP_DEVICE_BUS);
  return !bus || (std::string_view(bus) != "bluetooth" && std::string_view(bus) != "usb");
}

// Older drivers leave the port type unknown, but their speaker ports say so in their names.
bool isSpeaker(const pa_sink_port_info& port) {
  std::string name = port.name;
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return std::tolower(c); });
  return port.type == PA_DEVICE_PORT_TYPE_SPEAKER || name.find("speaker") != std::string::npos;
}

AudioSessionPortDescription describeOutput(const pa_sink_info& sink) {
  const pa_sink_port_info* port = sink.active_port;
  if (!port || !onInternalCard(sink))
    return {sinkDescription(sink), sink.name};
  if (isSpeaker(*port))
    return {"Speaker", sink.name};
  return {port->description && *port->description ? port->description : sinkDescription(sink),
          sink.name};
}

// What must differ for the route to have changed: the sink or its port, never its volume.
std::string routeIdentity(const pa_sink_info& sink) {
  return std::string(sink.name) + '\n' + (sink.active_port ? sink.active_port->name : "");
}

// The last route the server described, written by the pulse thread and read by anyone.
class RouteCache {
 public:
  // True when this answer replaces a different earlier one; the first answer is no change.
  bool store(AudioSessionRouteDescription route, std::string identity) {
    std::lock_guard lock(routeMutex_);
    const bool changed = answered_ && identity != identity_;
    answered_ = true;
    route_ = std::move(route);
    identity_ = std::move(identity);
    firstAnswer_.notify_all();
    return changed;
  }

  AudioSessionRouteDescription current() {
    std::unique_lock lock(routeMutex_);
    if (!firstWaitEnds_)
      firstWaitEnds_ = std::chrono::steady_clock::now() + kFirstRouteWait;
    firstAnswer_.wait_until(lock, *firstWaitEnds_, [this] { return answered_; });
    return route_;
  }

 private:
  std::mutex routeMutex_;
  std::condition_variable firstAnswer_;
  std::optional<std::chrono::steady_clock::time_point> firstWaitEnds_;
  bool answered_ = false;
  std::string identity_;
  AudioSessionRouteDescription route_;
};

// Follows the default sink through the server's events and tells observers when the output
// changes. Everything but current() runs on the pulse thread.
class RouteTracker {
 public:
  explicit RouteTracker(const void* session) : session_(session) {}

  void follow(pa_context* context) {
    pa_context_set_subscribe_callback(context, &serverEvent, this);
    forget(pa_context_subscribe(context,
                                static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                                                    PA_SUBSCRIPTION_MASK_SERVER),
                                nullptr, nullptr));
    ask(context);
  }

  // No server, or a server without any sink: no outputs.
  void clear() { publish({}, {}); }

  AudioSessionRouteDescription current() { return cache_.current(); }

 private:
  // A new default sink is a server change; a port or volume change is a change of that sink.
  static void serverEvent(pa_context* context, pa_subscription_event_type_t type, uint32_t index,
                          void* self) {
    auto& tracker = *static_cast<RouteTracker*>(self);
    const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    if (facility == PA_SUBSCRIPTION_EVENT_SERVER ||
        (facility == PA_SUBSCRIPTION_EVENT_SINK && index == tracker.sinkIndex_))
      tracker.ask(context);
  }

  static void sinkFound(pa_context*, const pa_sink_info* sink, int eol, void* self) {
    auto& tracker = *static_cast<RouteTracker*>(self);
    if (sink)
      tracker.publish({{describeOutput(*sink)}}, routeIdentity(*sink), sink->index);
    else if (eol < 0)
      tracker.clear();
  }

  // The server resolves the name itself, PulseAudio and pipewire-pulse alike.
  void ask(pa_context* context) {
    forget(pa_context_get_sink_info_by_name(context, "@DEFAULT_SINK@", &sinkFound, this));
  }

  void publish(AudioSessionRouteDescription route, std::string identity,
               uint32_t sinkIndex = PA_INVALID_INDEX) {
    sinkIndex_ = sinkIndex;
    if (cache_.store(std::move(route), std::move(identity)))
      foundation::NotificationCenter::defaultCenter().post(
          std::string(AudioSession::kRouteChangeNotification), session_);
  }

  const void* session_;
  RouteCache cache_;
  uint32_t sinkIndex_ = PA_INVALID_INDEX;
};

// One look at whether we could record: the default source must exist, must not be the monitor
// of an output, and must accept a record stream. Lives on the pulse thread.
class RecordProbe {
 public:
  class Listener {
   public:
    // Hears the verdict once; may destroy the probe.
    virtual void probeSettled(RecordProbe& probe, bool granted, std::string why) = 0;

   protected:
    ~Listener() = default;
  };

  RecordProbe(pa_mainloop_api* api, Listener& listener) : api_(api), listener_(listener) {
    const timeval limit = after(kAnswerLimit);
    deadline_ = api_->time_new(api_, &limit, &deadlinePassed, this);
  }

  ~RecordProbe() {
    endLookup();
    closeStream();
    api_->time_free(deadline_);
  }

  RecordProbe(const RecordProbe&) = delete;
  RecordProbe& operator=(const RecordProbe&) = delete;

  bool started() const { return context_ != nullptr; }

  void start(pa_context* context) {
    context_ = context;
    lookup_ = pa_context_get_source_info_by_name(context, "@DEFAULT_SOURCE@", &sourceFound, this);
    if (!lookup_)
      settle(false, "the sound server could not be asked (" + errorText(context) + ")");
  }

 private:
  static void sourceFound(pa_context*, const pa_source_info* source, int eol, void* self) {
    auto& probe = *static_cast<RecordProbe*>(self);
    if (!source && eol == 0)
      return;
    // Cancelling spares us the end-of-list call that follows an entry.
    probe.endLookup();
    if (source)
      probe.check(*source);
    else if (eol > 0 || pa_context_errno(probe.context_) == PA_ERR_NOENTITY)
      probe.settle(false, "the sound server has no capture source");
    else
      probe.settle(false, "the sound server would not describe its capture source (" +
                              errorText(probe.context_) + ")");
  }

  static void streamStateChanged(pa_stream* stream, void* self) {
    auto& probe = *static_cast<RecordProbe*>(self);
    const auto state = pa_stream_get_state(stream);
    if (state == PA_STREAM_READY)
      probe.settle(true, {});
    else if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED)
      probe.refuseStream();
  }

  static void deadlinePassed(pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
    static_cast<RecordProbe*>(self)->settle(false, "the sound server did not answer within 3 s");
  }

  // A stream still being created cannot be disconnected yet; it closes itself once it can.
  static void closeWhenSettled(pa_stream* stream, void*) {
    switch (pa_stream_get_state(stream)) {
      case PA_STREAM_READY:
        pa_stream_disconnect(stream);
        return;
      case PA_STREAM_CREATING:
        return;
      default:
        pa_stream_set_state_callback(stream, nullptr, nullptr);
        pa_stream_unref(stream);
    }
  }

  void check(const pa_source_info& source) {
    sourceName_ = source.name;
    if (source.monitor_of_sink != PA_INVALID_INDEX)
      return settle(false,
                    "the default capture source \"" + sourceName_ + "\" only monitors an output");
    openStream();
  }

  // Corked: the check needs the stream to be created, not its audio, and corking keeps the
  // desktop's microphone-in-use indicator quiet.
  void openStream() {
    const pa_sample_spec spec{PA_SAMPLE_S16LE, 16000, 1};
    stream_ = pa_stream_new(context_, "Orvane microphone check", &spec, nullptr);
    if (!stream_)
      return refuseStream();
    pa_stream_set_state_callback(stream_, &streamStateChanged, this);
    const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_START_CORKED | PA_STREAM_DONT_MOVE);
    if (pa_stream_connect_record(stream_, sourceName_.c_str(), nullptr, flags) < 0)
      refuseStream();
  }

  void refuseStream() {
    settle(false, "the sound server refused to record from \"" + sourceName_ + "\" (" +
                      errorText(context_) + ")");
  }

  void endLookup() {
    if (!lookup_)
      return;
    pa_operation_cancel(lookup_);
    pa_operation_unref(lookup_);
    lookup_ = nullptr;
  }

  void closeStream() {
    if (!stream_)
      return;
    pa_stream_set_state_callback(stream_, &closeWhenSettled, nullptr);
    closeWhenSettled(std::exchange(stream_, nullptr), nullptr);
  }

  void settle(bool granted, std::string why) {
    listener_.probeSettled(*this, granted, std::move(why));
  }

  pa_mainloop_api* api_;
  Listener& listener_;
  pa_time_event* deadline_;
  pa_context* context_ = nullptr;
  pa_operation* lookup_ = nullptr;
  pa_stream* stream_ = nullptr;
  std::string sourceName_;
};

// The open permission requests, each answered exactly once by its own probe. Used on the pulse
// thread or under the loop's lock, and after the loop has stopped.
class PermissionDesk : private RecordProbe::Listener {
 public:
  explicit PermissionDesk(pa_mainloop_api* api) : api_(api) {}

  void add(Completion completion) {
    RecordProbe::Listener& listener = *this;
    requests_.push_back({std::make_unique<RecordProbe>(api_, listener), std::move(completion)});
  }

  void startWaiting(pa_context* context) {
    for (auto next = requests_.begin(); next != requests_.end();) {
      RecordProbe& probe = *(next++)->probe;  // starting may settle and erase the probe at once
      if (!probe.started())
        probe.start(context);
    }
  }

  void refuseAll(const std::string& why) {
    auto refused = std::move(requests_);
    requests_.clear();
    for (auto& request : refused)
      answer(std::move(request), false, why);
  }

 private:
  struct Request {
    std::unique_ptr<RecordProbe> probe;
    Completion completion;
  };

  void probeSettled(RecordProbe& probe, bool granted, std::string why) override {
    auto settled = std::find_if(requests_.begin(), requests_.end(), [&](const Request& request) {
      return request.probe.get() == &probe;
    });
    Request request = std::move(*settled);
    requests_.erase(settled);
    answer(std::move(request), granted, why);
  }

  // The probe goes first, so the completion may ask again without meeting it.
  static void answer(Request request, bool granted, const std::string& why) {
    request.probe.reset();
    if (!granted)
      foundation::Console::line("No microphone: " + why);
    request.completion(granted);
  }

  pa_mainloop_api* api_;
  std::list<Request> requests_;
};

}  // namespace

// The session's thread and its link to the server: connects, and reconnects every second
// after a failure or a lost server, without ever making a caller wait for it.
class AudioSession::Connection {
 public:
  Connection(std::string address, const void* session)
      : address_(std::move(address)),
        mainloop_(pa_threaded_mainloop_new()),
        api_(pa_threaded_mainloop_get_api(mainloop_)),
        routes_(session),
        permissions_(api_) {
    // The first attempt runs on the session's thread, like every later one.
    const timeval now = after(0);
    retry_ = api_->time_new(api_, &now, &retryDue, this);
    pa_threaded_mainloop_set_name(mainloop_, "orvane-pulse");
    // libpulse sets up its thread registry lazily, on whichever thread comes first, and
    // publishes it in a way ThreadSanitizer cannot follow. Letting our thread finish that
    // before any caller locks the loop keeps the sanitizer's view exact, for microseconds.
    std::promise<void> running;
    pa_mainloop_api_once(api_, &announce, &running);
    if (pa_threaded_mainloop_start(mainloop_) < 0) {
      api_->time_free(retry_);
      pa_threaded_mainloop_free(mainloop_);
      throw std::runtime_error("AudioSession: cannot start the sound server thread");
    }
    running.get_future().wait();
  }

  ~Connection() {
    pa_threaded_mainloop_stop(mainloop_);
    permissions_.refuseAll("the audio session closed before the sound server answered");
    if (context_)
      dropContext();
    api_->time_free(retry_);
    pa_threaded_mainloop_free(mainloop_);
  }

  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  AudioSessionRouteDescription route() { return routes_.current(); }

  void requestRecordPermission(Completion completion) {
    MainloopLock lock(mainloop_);
    permissions_.add(std::move(completion));
    pa_mainloop_api_once(api_, &requestArrived, this);
  }

 private:
  static void announce(pa_mainloop_api*, void* running) {
    static_cast<std::promise<void>*>(running)->set_value();
  }

  static void retryDue(pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
    static_cast<Connection*>(self)->connect();
  }

  // A question is worth a fresh attempt rather than a wait for the next retry.
  static void requestArrived(pa_mainloop_api*, void* self) {
    auto& connection = *static_cast<Connection*>(self);
    if (!connection.context_) {
      const timeval now = after(0);
      connection.api_->time_restart(connection.retry_, &now);
    } else if (pa_context_get_state(connection.context_) == PA_CONTEXT_READY) {
      connection.permissions_.startWaiting(connection.context_);
    }
  }

  static void stateChanged(pa_context* context, void* self) {
    auto& connection = *static_cast<Connection*>(self);
    const auto state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY)
      connection.connected();
    else if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED)
      connection.lost();
  }

  void connect() {
    context_ = pa_context_new(api_, "Orvane");
    pa_context_set_state_callback(context_, &stateChanged, this);
    const char* server = address_.empty() ? nullptr : address_.c_str();
    if (pa_context_connect(context_, server, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
      lost();
  }

  void connected() {
    outageReported_ = false;
    routes_.follow(context_);
    permissions_.startWaiting(context_);
  }

  // Also reached a second time for one failure, from pa_context_connect's result.
  void lost() {
    if (!context_)
      return;
    const std::string why = errorText(context_);
    dropContext();
    if (!std::exchange(outageReported_, true))
      foundation::Console::line("Sound server unavailable (" + why +
                                "); trying again every second");
    const timeval retry = after(kRetryInterval);
    api_->time_restart(retry_, &retry);
    routes_.clear();
    permissions_.refuseAll("cannot reach the sound server (" + why + ")");
  }

  void dropContext() {
    pa_context_set_state_callback(context_, nullptr, nullptr);
    pa_context_set_subscribe_callback(context_, nullptr, nullptr);
    pa_context_disconnect(context_);
    pa_context_unref(std::exchange(context_, nullptr));
  }

  const std::string address_;
  pa_threaded_mainloop* const mainloop_;
  pa_mainloop_api* const api_;
  pa_time_event* retry_ = nullptr;
  pa_context* context_ = nullptr;
  bool outageReported_ = false;
  RouteTracker routes_;
  PermissionDesk permissions_;
};

AudioSession& AudioSession::sharedInstance() {
  // The session posts into the notification centre until it is destroyed at exit; creating
  // the centre first makes it outlive the session.
  foundation::NotificationCenter::defaultCenter();
  static AudioSession session;
  return session;
}

AudioSession::AudioSession(std::string serverAddress)
    : connection_(std::make_unique<Connection>(std::move(serverAddress), this)) {}

AudioSession::~AudioSession() = default;

void AudioSession::setCategory(AudioSessionCategory category) {
  category_ = category;
}

AudioSessionCategory AudioSession::category() const {
  return category_;
}

std::string AudioSession::mediaRole() const {
  return category_ == AudioSessionCategory::PlayAndRecord ? "phone" : "music";
}

void AudioSession::requestRecordPermission(std::function<void(bool granted)> completion) {
  connection_->requestRecordPermission(std::move(completion));
}

AudioSessionRouteDescription AudioSession::currentRoute() const {
  return connection_->route();
}

}  // namespace platform
