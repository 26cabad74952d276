#include "analytics/core/model/TallixError.h"

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/StringFormat.h"

namespace tallix {

using foundation::Date;

TallixError::TallixError(int errorID, Date date, std::string errorString, std::string errorMessage,
                         std::string exceptionString, int errorType,
                         foundation::Value::Bytes reportData)
    : errorID_(errorID),
      date_(date),
      errorString_(std::move(errorString)),
      errorMessage_(std::move(errorMessage)),
      exceptionString_(std::move(exceptionString)),
      errorType_(errorType),
      reportData_(std::move(reportData)) {}

std::string TallixError::description() const {
  return foundation::stringWithFormat(
      "errorLogId[%d] errorTime[%s] errorId[%s] errorMessage[%s] exception[%s] type[%d]", errorID_,
      date_.description().c_str(), errorString_.c_str(), errorMessage_.c_str(),
      exceptionString_.c_str(), errorType_);
}

void TallixError::encodeWithCoder(foundation::KeyedArchiver& coder) const {
  coder.encodeInt32("errorID", errorID_);
  coder.encodeDate("date", date_);
  coder.encodeString("errorString", errorString_);
  coder.encodeString("errorMessage", errorMessage_);
  coder.encodeString("exceptionString", exceptionString_);
  coder.encodeInt32("errorType", errorType_);
  coder.encodeBytes("reportData", reportData_);
}

std::shared_ptr<TallixError> TallixError::initWithCoder(foundation::KeyedUnarchiver& coder) {
  const auto errorID = coder.decodeInt32("errorID");
  const auto date = coder.decodeDate("date");
  if (!errorID || !date) {
    coder.fail();
    return nullptr;
  }
  return std::make_shared<TallixError>(
      *errorID, *date, coder.decodeString("errorString").value_or(""),
      coder.decodeString("errorMessage").value_or(""),
      coder.decodeString("exceptionString").value_or(""),
      coder.decodeInt32("errorType").value_or(ErrorObject),
      coder.decodeBytes("reportData").value_or(foundation::Value::Bytes{}));
}

}  // namespace tallix
