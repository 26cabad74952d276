#pragma once

#include <memory>

#include "analytics/core/report/TallixSessionRecordWriter.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "tests/analytics/FixedClock.h"
#include "tests/analytics/report/SessionDraft.h"

namespace tallix {

// A session record from the agent's own writer, holding the given number of logged events.
inline foundation::Value::Bytes sessionRecordWithEvents(int events) {
  TallixGlobalVariableStorage storage("1.0");
  const FixedClock clock(foundation::Date::fromTimeIntervalSince1970(1));
  TallixTrackedProperties tracked(storage.persistentGlobalsMap());
  SessionDraft draft;
  for (int id = 1; id <= events; ++id) {
    draft.eventLog.put(
        std::make_shared<TallixEvent>("event", false, foundation::Value(), clock.now(), id), true);
  }
  return TallixSessionRecordWriter(storage, clock, tracked).data(*draft.session()).value();
}

}  // namespace tallix
