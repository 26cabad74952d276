#pragma once

#include <memory>

#include "analytics/core/session/TallixEventLog.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/session/TallixSessionArchive.h"
#include "analytics/core/session/TallixSessionFields.h"
#include "foundation/Archivable.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

// A session put together from plain fields and an event log, then read back through the
// session's own archive: the way a session left on disk by an earlier run reaches the report.
struct SessionDraft : foundation::Archivable {
  TallixSessionFields fields;
  TallixEventLog eventLog;

  std::string_view archiveClassName() const override { return TallixSession::kArchiveClassName; }
  void encodeWithCoder(foundation::KeyedArchiver& coder) const override {
    TallixSessionArchive::encode(fields, eventLog, coder);
  }
  std::shared_ptr<TallixSession> session() const {
    return foundation::KeyedUnarchiver::unarchiveObjectWithData<TallixSession>(
        foundation::KeyedArchiver::archivedData(*this));
  }
};

}  // namespace tallix
