#pragma once

#include <memory>

#include "analytics/core/report/TallixRequestBodyWriter.h"
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

// The body the agent would send for the records, from a device with an identifier.
inline foundation::Value::Bytes requestBodyFor(
    const std::vector<foundation::Value::Bytes>& records) {
  TallixGlobalVariableStorage storage("1.0");
  const FixedClock clock(foundation::Date::fromTimeIntervalSince1970(1700000000));
  TallixTrackedProperties tracked(storage.persistentGlobalsMap());
  TallixDeviceDescription device;
  device.tallixId = "7E57AB1E-0000-4000-8000-000000000001";
  return TallixRequestBodyWriter(storage, clock, tracked, device)
      .dataForSessions(records, clock.now(), false)
      .value();
}

}  // namespace tallix
