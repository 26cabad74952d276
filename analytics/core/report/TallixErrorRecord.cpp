#include "analytics/core/report/TallixErrorRecord.h"

#include "analytics/core/report/TallixProtocolData.h"

namespace tallix {

void TallixErrorRecord::appendToData(const TallixError& error, foundation::Value::Bytes& data) {
  TallixProtocolData::appendUshort(error.errorID(), data);
  TallixProtocolData::appendTimestamp(error.date(), data);
  TallixProtocolData::appendString(error.errorString(), data);
  TallixProtocolData::appendString(error.errorMessage(), data);
  TallixProtocolData::appendString(error.exceptionString(), data);
  TallixProtocolData::appendByte(error.errorType(), data);
  const bool hasReport = !error.reportData().empty();
  TallixProtocolData::appendByte(hasReport ? 1 : 0, data);
  if (hasReport)
    TallixProtocolData::appendLargeData(error.reportData(), data);
}

}  // namespace tallix
