#include "analytics/config/watch/TallixWatchAgent.h"

#include "analytics/config/watch/TallixWatchRecorder.h"
#include "analytics/core/agent/TallixAgent.h"
#include "analytics/core/model/TallixLimits.h"
#include "analytics/core/session/TallixWatchSession.h"
#include "analytics/core/support/TallixExceptionHandler.h"
#include "analytics/core/support/TallixLog.h"

namespace tallix {

using foundation::Value;

namespace {

bool refused(const char* refusal) {
  TallixLog::debug("%s", refusal);
  return false;
}

}  // namespace

TallixWatchAgent::TallixWatchAgent(TallixAgent& agent) : agent_(agent) {}

TallixWatchAgent::~TallixWatchAgent() = default;

const std::optional<std::string>& TallixWatchAgent::apiKey() {
  std::call_once(keyRead_, [this] {
    apiKey_ = agent_.application()->infoDictionaryValue(kApiKeyName);
    if (!apiKey_)
      TallixLog::refusal(
          "API Key not provided in plist with key %s, unable to create watch session", kApiKeyName);
  });
  return apiKey_;
}

// Made only in an extension: the application's own process may ship the same key, and must not
// have its agent's key replaced by it.
TallixWatchRecorder& TallixWatchAgent::recorder() {
  std::call_once(recorderMade_, [this] {
    const TallixAgentStart start = agent_.startExtension(*apiKey());
    recorder_ = std::make_unique<TallixWatchRecorder>(
        start, [&](std::shared_ptr<TallixDataSending> sender) {
          return agent_.makeReporter(start.device, std::move(sender));
        });
    madeRecorder_.store(recorder_.get(), std::memory_order_release);
  });
  return *recorder_;
}

EventRecordResult TallixWatchAgent::logWatchEvent(const Value& eventName, const Value& parameters) {
  if (!apiKey()) {
    TallixLog::debug("No API key provided in plist, unable to log event");
    return EventRecordResult::Invalid;
  }
  if (!agent_.isWatchExtension()) {
    TallixLog::debug(
        "Tallix: Event not logged -- this method can only be used in watch extension.");
    return EventRecordResult::Invalid;
  }
  const std::string* name = eventName.string();
  if (!name) {
    TallixLog::debug("Tallix: Event not logged -- eventName must be of NSString type.");
    return EventRecordResult::Invalid;
  }
  if (name->empty()) {
    TallixLog::debug("Tallix: Event not logged -- eventName may not be empty.");
    return EventRecordResult::Invalid;
  }
  // The session would refuse anything but a dictionary without a word; refused here instead,
  // so the answer is not "queued".
  if (!parameters.isNull() && !parameters.dictionary())
    return EventRecordResult::Invalid;
  if (parameters.dictionary() && parameters.dictionary()->size() > kMaxParametersPerEvent) {
    TallixLog::debug(
        "Tallix: Event not logged -- parameters may not contain more than %d elements.",
        static_cast<int>(kMaxParametersPerEvent));
    return EventRecordResult::TooManyParameters;
  }
  if (agent_.hasUserOptedOut()) {
    TallixLog::debug("Tallix: %s disabled.", "+[TallixWatch logWatchEvent:withParameters:]");
    return EventRecordResult::Invalid;
  }
  recorder().async([name = *name, parameters](TallixWatchSession& session) {
    session.recordWatchEvent(name, parameters);
  });
  return EventRecordResult::Recorded;
}

bool TallixWatchAgent::acceptsError(const Value& errorId, const Value& message,
                                    const char* method) {
  if (!apiKey())
    return refused("No API key provided in plist, unable to log error");
  if (!agent_.isWatchExtension())
    return refused("Tallix: Error not logged -- this method can only be used in watch extension.");
  if (!errorId.string())
    return refused("Tallix: Error not logged -- errorId must be of NSString type.");
  if (!message.string())
    return refused("Tallix: Error not logged -- message must be of NSString type.");
  if (agent_.hasUserOptedOut()) {
    TallixLog::debug("Tallix: %s disabled.", method);
    return false;
  }
  return true;
}

void TallixWatchAgent::logWatchError(const Value& errorId, const Value& message, const char* method,
                                     ErrorRecording recording) {
  if (!acceptsError(errorId, message, method))
    return;
  recorder().async([errorId = *errorId.string(), message = *message.string(),
                    report = agent_.liveCrashReport(),
                    recording = std::move(recording)](TallixWatchSession& session) mutable {
    recording(session, errorId, message, std::move(report));
  });
}

void TallixWatchAgent::logWatchError(const Value& errorId, const Value& message,
                                     std::exception_ptr exception) {
  logWatchError(
      errorId, message, "+[TallixWatch logWatchError:message:exception:]",
      [exception = TallixExceptionHandler::describe(exception)](
          TallixWatchSession& session, const std::string& id, const std::string& text,
          auto report) { session.recordWatchError(id, text, exception, std::move(report)); });
}

void TallixWatchAgent::logWatchError(const Value& errorId, const Value& message,
                                     const std::error_code& error) {
  logWatchError(
      errorId, message, "+[TallixWatch logWatchError:message:error:]",
      [error](TallixWatchSession& session, const std::string& id, const std::string& text,
              auto report) { session.recordWatchError(id, text, error, std::move(report)); });
}

bool TallixWatchAgent::waitUntilIdle(std::chrono::milliseconds timeout) {
  TallixWatchRecorder* made = madeRecorder_.load(std::memory_order_acquire);
  return !made || made->waitUntilIdle(timeout);
}

}  // namespace tallix
