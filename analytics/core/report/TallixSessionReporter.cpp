#include "analytics/core/report/TallixSessionReporter.h"

#include <utility>

#include "analytics/core/ports/TallixDataSending.h"
#include "analytics/core/session/TallixSavedSessions.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixLog.h"

namespace tallix {

TallixSessionReporter::TallixSessionReporter(
    TallixGlobalVariableStorage& settings, const TallixClock& clock, TallixDeviceDescription device,
    TallixSessionRecordWriter::NetworkStatusSource networkStatus,
    TallixSessionRecordWriter::LandscapeSource canvasInLandscape,
    std::shared_ptr<TallixDataSending> sender)
    : settings_(settings),
      trackedProperties_(settings.persistentGlobalsMap()),
      recordWriter_(settings, clock, trackedProperties_, std::move(networkStatus),
                    std::move(canvasInLandscape)),
      bodyWriter_(settings, clock, trackedProperties_, std::move(device)),
      sender_(std::move(sender)) {}

std::optional<TallixSessionReporter::Bytes> TallixSessionReporter::recordOf(
    TallixSession& session) {
  return recordWriter_.data(session);
}

void TallixSessionReporter::sendSessionsToServerIncludingCurrentSession(
    TallixSession& current, TallixSavedSessions& saved) {
  if (settings_.hasUserOptedOut()) {
    TallixLog::debug("TallixSession: User is opted out, not sending session report");
    saved.setSavedSessions({});
    return;
  }
  TallixLog::debug("TallixSession: Sending sessions to server, include current %s", "YES");
  auto records = saved.savedSessions();
  if (auto record = recordOf(current))
    records.push_back(std::move(*record));
  const std::size_t scheduled = records.size();
  std::erase_if(records,
                [&](const Bytes& record) { return send(record, current.fields().startTime); });
  TallixLog::debug("TallixSession: Scheduled send %lu session(s).",
                   static_cast<unsigned long>(scheduled - records.size()));
  saved.setSavedSessions(records);
}

bool TallixSessionReporter::send(const Bytes& record, foundation::Date currentSessionStart) {
  const auto body = bodyWriter_.dataForSessions({record}, currentSessionStart,
                                                sender_->everSentReportSuccessfully());
  if (!body) {
    TallixLog::debug("%s: Unable to create session date from sessions array",
                     "-[TallixSession prepareForSendingSessions:]");
    return false;
  }
  return sender_->sendSessionsData(*body);
}

}  // namespace tallix
