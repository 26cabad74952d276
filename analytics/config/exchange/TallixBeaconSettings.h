#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "analytics/config/exchange/TallixBeaconAppTemplate.h"
#include "foundation/Archivable.h"
#include "foundation/Value.h"

namespace tallix {

// The outcome of one configuration exchange: when the service issued it, until when it is
// fresh and until when it may be used at all, and the partner callbacks it configures.
class TallixBeaconSettings : public foundation::Archivable {
 public:
  static constexpr std::string_view kArchiveClassName = "TallixBeaconSettings";
  using Callbacks = std::vector<std::shared_ptr<TallixBeaconAppTemplate>>;

  static std::shared_ptr<TallixBeaconSettings> initWithCoder(foundation::KeyedUnarchiver& coder);
  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(foundation::KeyedArchiver& coder) const override;

  foundation::Value dataDictionary() const;
  // Null when the value is no dictionary; elements of "callbacks" that are none are skipped.
  static std::shared_ptr<TallixBeaconSettings> initWithDictionary(
      const foundation::Value& dictionary);

  // The service's issued_at, as sent.
  std::int64_t lastResponseTime() const { return lastResponseTime_; }
  void setLastResponseTime(std::int64_t time) { lastResponseTime_ = time; }
  // Both in milliseconds since 1970.
  std::int64_t nextRefreshTTL() const { return nextRefreshTTL_; }
  void setNextRefreshTTL(std::int64_t time) { nextRefreshTTL_ = time; }
  std::int64_t expirationTTL() const { return expirationTTL_; }
  void setExpirationTTL(std::int64_t time) { expirationTTL_ = time; }
  const Callbacks& callbacks() const { return callbacks_; }
  void setCallbacks(Callbacks callbacks) { callbacks_ = std::move(callbacks); }

 private:
  std::int64_t lastResponseTime_ = 0;
  std::int64_t nextRefreshTTL_ = 0;
  std::int64_t expirationTTL_ = 0;
  Callbacks callbacks_;
};

}  // namespace tallix
