#include "analytics/core/session/TallixSavedSessions.h"

#include <exception>

#include "analytics/core/session/TallixSession.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Value;

TallixSavedSessions::TallixSavedSessions(std::filesystem::path path,
                                         const TallixGlobalVariableStorage& settings,
                                         RecordWriter recordOf)
    : path_(std::move(path)), settings_(settings), recordOf_(std::move(recordOf)) {}

std::vector<TallixSavedSessions::Record> TallixSavedSessions::savedSessions() const {
  std::vector<Record> records;
  const auto archived = foundation::KeyedUnarchiver::unarchiveValueWithFile(path_);
  if (!archived || !archived->array())
    return records;
  for (const Value& entry : *archived->array()) {
    if (!entry.bytes()) {
      TallixLog::debug("TallixSession: saved sessions at path[%s] unreadable, starting afresh",
                       path_.c_str());
      return {};
    }
    records.push_back(*entry.bytes());
  }
  return records;
}

void TallixSavedSessions::setSavedSessions(const std::vector<Record>& records) {
  Value::Array entries(records.begin(), records.end());
  if (!foundation::KeyedArchiver::archiveRootValue(Value(std::move(entries)), path_))
    TallixLog::debug("TallixSession: saved sessions not written to path[%s]", path_.c_str());
}

void TallixSavedSessions::addToSavedSessions(TallixSession& session) {
  try {
    TallixLog::debug("TallixSession: Add session with startTime[%s] to saved sessions",
                     session.fields().startTime.description().c_str());
    auto record = recordOf_(session);
    if (!record)
      return;
    auto records = savedSessions();
    records.push_back(std::move(*record));
    removeOldSessionsIfNecessary(records);
    setSavedSessions(records);
  } catch (const std::exception& exception) {
    TallixLog::debug("%s: exception %s", "+[TallixSession addToSavedSessions:]", exception.what());
  }
}

void TallixSavedSessions::removeOldSessionsIfNecessary(std::vector<Record>& records) const {
  const auto maximum = static_cast<std::size_t>(std::max(0, settings_.settings().maxSessionsSaved));
  if (records.size() <= maximum)
    return;
  const std::size_t excess = records.size() - maximum;
  TallixLog::debug("TallixSession: Max sessions allowed[%d] exceeded", static_cast<int>(maximum));
  TallixLog::debug("TallixSession: Removing [%lu] sessions from saved sessions",
                   static_cast<unsigned long>(excess));
  records.erase(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(excess));
}

}  // namespace tallix
