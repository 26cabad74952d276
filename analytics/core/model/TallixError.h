#pragma once

#include <memory>
#include <string>

#include "foundation/Archivable.h"
#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

// One entry of a session's error log.
class TallixError : public foundation::Archivable {
 public:
  static constexpr std::string_view kArchiveClassName = "TallixError";
  // Where an error came from; crash errors are made when a crashed session is reported.
  enum Type { ErrorObject = 1, Exception = 2, Crash = 3 };

  TallixError(int errorID, foundation::Date date, std::string errorString, std::string errorMessage,
              std::string exceptionString, int errorType, foundation::Value::Bytes reportData);

  static std::shared_ptr<TallixError> initWithCoder(foundation::KeyedUnarchiver& coder);
  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(foundation::KeyedArchiver& coder) const override;

  int errorID() const { return errorID_; }
  foundation::Date date() const { return date_; }
  // The application's own id of the error.
  const std::string& errorString() const { return errorString_; }
  const std::string& errorMessage() const { return errorMessage_; }
  const std::string& exceptionString() const { return exceptionString_; }
  int errorType() const { return errorType_; }
  const foundation::Value::Bytes& reportData() const { return reportData_; }

  std::string description() const;

 private:
  int errorID_;
  foundation::Date date_;
  std::string errorString_;
  std::string errorMessage_;
  std::string exceptionString_;
  int errorType_;
  foundation::Value::Bytes reportData_;
};

}  // namespace tallix
