#include "analytics/core/report/TallixEventRecord.h"

#include "analytics/core/report/TallixDictionaryRecord.h"
#include "analytics/core/report/TallixProtocolData.h"

namespace tallix {

void TallixEventRecord::appendRelativeToSessionStart(const TallixEvent& event,
                                                     foundation::Date sessionStart,
                                                     foundation::Value::Bytes& data) {
  TallixProtocolData::appendUshort(event.eventLogId(), data);
  TallixProtocolData::appendString(event.name(), data);
  TallixDictionaryRecord::append(event.parameters(), data);
  TallixProtocolData::appendLong(event.startOffsetFromSessionStart(sessionStart), data);
  TallixProtocolData::appendLong(event.duration(), data);
}

}  // namespace tallix
