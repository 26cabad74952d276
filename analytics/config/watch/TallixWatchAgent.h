#pragma once

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>

#include "foundation/Value.h"
#include "tallix/EventRecordResult.h"

namespace tallix {

class TallixAgent;
class TallixWatchRecorder;
class TallixWatchSession;

// The extension facade's checks and its state: the key the application ships with, read on
// the first call, and the recorder, made on the first call that passes the checks in an
// extension. A call that fails a check is answered at once and never reaches a session; the
// others are queued. Calls come from any thread.
class TallixWatchAgent {
 public:
  static constexpr const char* kApiKeyName = "Tallix Watch API Key";

  explicit TallixWatchAgent(TallixAgent& agent);
  ~TallixWatchAgent();
  TallixWatchAgent(const TallixWatchAgent&) = delete;
  TallixWatchAgent& operator=(const TallixWatchAgent&) = delete;

  // Recorded when queued, TooManyParameters past ten parameters, Invalid otherwise.
  EventRecordResult logWatchEvent(const foundation::Value& eventName,
                                  const foundation::Value& parameters);
  void logWatchError(const foundation::Value& errorId, const foundation::Value& message,
                     std::exception_ptr exception);
  void logWatchError(const foundation::Value& errorId, const foundation::Value& message,
                     const std::error_code& error);
  // True at once when nothing was ever queued.
  bool waitUntilIdle(std::chrono::milliseconds timeout);

 private:
  using ErrorRecording = std::function<void(TallixWatchSession&, const std::string& errorId,
                                            const std::string& message,
                                            std::optional<foundation::Value::Bytes> liveReport)>;

  const std::optional<std::string>& apiKey();
  TallixWatchRecorder& recorder();
  // The checks an error passes before it is queued; false after logging the first it fails.
  bool acceptsError(const foundation::Value& errorId, const foundation::Value& message,
                    const char* method);
  void logWatchError(const foundation::Value& errorId, const foundation::Value& message,
                     const char* method, ErrorRecording recording);

  TallixAgent& agent_;
  std::once_flag keyRead_;
  std::optional<std::string> apiKey_;
  std::once_flag recorderMade_;
  std::unique_ptr<TallixWatchRecorder> recorder_;
  // Set once the recorder is made, for waits from threads that never made one.
  std::atomic<TallixWatchRecorder*> madeRecorder_{nullptr};
};

}  // namespace tallix
