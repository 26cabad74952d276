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
    : path_(std::move(path)),
      settings_(settings),
      recordOf_(std::move(recordOf)),
      records_(readFile()) {}

std::vector<TallixSavedSessions::Record> TallixSavedSessions::readFile() const {
  std::vector<Record> records;
  const auto archived = foundation::KeyedUnarchiver::unarchiveValueWithFile(path_);
  if (!archived || !archived->array())
    return records;
  for (const Value& entry : *archived->array()) {
    if (entry.bytes())
      records.push_back(*entry.bytes());
    else
      TallixLog::debug("TallixSession: damaged saved session at path[%s] left out", path_.c_str());
  }
  return records;
}

void TallixSavedSessions::setSavedSessions(const std::vector<Record>& records) {
  records_ = records;
  writeFile();
}

void TallixSavedSessions::writeFile() const {
  Value::Array entries(records_.begin(), records_.end());
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
    records_.push_back(std::move(*record));
    removeOldSessionsIfNecessary();
    writeFile();
  } catch (const std::exception& exception) {
    TallixLog::debug("%s: exception %s", "+[TallixSession addToSavedSessions:]", exception.what());
  }
}

void TallixSavedSessions::removeOldSessionsIfNecessary() {
  const auto maximum = static_cast<std::size_t>(std::max(0, settings_.settings().maxSessionsSaved));
  if (records_.size() <= maximum)
    return;
  const std::size_t excess = records_.size() - maximum;
  TallixLog::debug("TallixSession: Max sessions allowed[%d] exceeded", static_cast<int>(maximum));
  TallixLog::debug("TallixSession: Removing [%lu] sessions from saved sessions",
                   static_cast<unsigned long>(excess));
  records_.erase(records_.begin(), records_.begin() + static_cast<std::ptrdiff_t>(excess));
}

}  // namespace tallix
