#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "analytics/core/report/TallixDeviceDescription.h"
#include "analytics/core/report/TallixRequestBodyWriter.h"
#include "analytics/core/report/TallixSessionRecordWriter.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "foundation/Value.h"

namespace tallix {

class TallixDataSending;
class TallixSavedSessions;
class TallixSession;

// The agent's one owner of a report's bytes: it turns sessions into records, wraps each record
// into a request body in the same pass, and hands the finished bodies to the sender. Sessions
// only ask to be reported; the sender only stores and posts bytes. Runs on the agent queue.
class TallixSessionReporter {
 public:
  using Bytes = foundation::Value::Bytes;

  // Without a sender, nothing is sent: finished sessions stay among the saved ones.
  TallixSessionReporter(TallixGlobalVariableStorage& settings, const TallixClock& clock,
                        TallixDeviceDescription device,
                        TallixSessionRecordWriter::NetworkStatusSource networkStatus,
                        TallixSessionRecordWriter::LandscapeSource canvasInLandscape,
                        std::shared_ptr<TallixDataSending> sender);

  // The session's record; nothing when it cannot be written.
  std::optional<Bytes> recordOf(TallixSession& session);
  bool canSend() const { return sender_ != nullptr; }
  // Only with a sender. Each saved record and the current session's goes in a body of its own,
  // for the current session's start; what the sender could not take stays saved. Opted out,
  // nothing is sent and the saved sessions are dropped.
  void sendSessionsToServerIncludingCurrentSession(TallixSession& current,
                                                   TallixSavedSessions& saved);

 private:
  bool send(const Bytes& record, foundation::Date currentSessionStart);

  TallixGlobalVariableStorage& settings_;
  TallixTrackedProperties trackedProperties_;
  TallixSessionRecordWriter recordWriter_;
  TallixRequestBodyWriter bodyWriter_;
  const std::shared_ptr<TallixDataSending> sender_;
};

}  // namespace tallix
