#include "analytics/core/session/TallixSessionFactory.h"

#include <filesystem>

#include "analytics/core/ports/TallixAgentService.h"
#include "analytics/core/ports/TallixCrashCapture.h"
#include "analytics/core/session/TallixSavedSessions.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/session/TallixSessionContext.h"
#include "analytics/core/session/TallixSessionSaver.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/NotificationCenter.h"

namespace tallix {

using foundation::Date;

TallixSessionFactory::TallixSessionFactory(std::shared_ptr<const TallixSessionContext> context)
    : context_(std::move(context)) {}

std::shared_ptr<TallixSession> TallixSessionFactory::sessionWithApiKey(
    const std::string& apiKey, Date startTime, std::vector<TallixPreCacheEvent> preCached) {
  saveFormerSession();
  context_->saver.removeFile(context_->paths.currentSession());
  auto session = TallixSession::initWithAPIKey(context_, apiKey,
                                               context_->settings.settings().appVersion, startTime);
  TallixLog::debug("TallixSession: Created active session with API[%s]", apiKey.c_str());
  if (!preCached.empty()) {
    TallixLog::debug(
        "TallixSession: Recording %ld events that were logged before the session was created",
        static_cast<long>(preCached.size()));
    for (const auto& event : preCached)
      session->recordEvent(event.eventName, event.params, event.timed);
  }
  context_->notificationCenter.post("TallixSessionStarted");
  return session;
}

std::shared_ptr<TallixSession> TallixSessionFactory::sessionWithNewEventsWithApiKey(
    TallixSession& previous, const std::string& apiKey, Date startTime,
    std::vector<TallixPreCacheEvent> preCached) {
  auto session = sessionWithApiKey(apiKey, startTime, std::move(preCached));
  for (auto& event : previous.takePendingEvents())
    session->adoptEvent(std::move(event));
  return session;
}

void TallixSessionFactory::saveFormerSession() {
  const auto path = context_->paths.currentSession();
  if (!std::filesystem::exists(path))
    return;
  const auto former = foundation::KeyedUnarchiver::unarchiveObjectWithFile<TallixSession>(path);
  if (!former) {
    TallixLog::debug("TallixSession: former session at path[%s] unreadable, discarded",
                     path.c_str());
    return;
  }
  attachPendingCrashReport(*former);
  context_->savedSessions.addToSavedSessions(*former);
  TallixLog::debug("TallixSession: Add crashed former session");
  for (const auto& service : context_->services)
    service->formerSessionFound(former->span());
}

void TallixSessionFactory::attachPendingCrashReport(TallixSession& former) {
  const auto& crash = context_->crashCapture;
  if (!crash || !context_->settings.settings().crashReportingEnabled ||
      !crash->hasPendingCrashReport())
    return;
  former.mutableFields().crashed = true;
  std::string error;
  if (auto report = crash->loadPendingCrashReportData(error))
    former.mutableFields().crashReportData = std::move(*report);
  else
    TallixLog::debug("TallixSession: Could not load crash report data: %s", error.c_str());
  crash->purgePendingCrashReport();
}

}  // namespace tallix
