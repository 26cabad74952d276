#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Archivable.h"
#include "foundation/Value.h"

namespace tallix {

// One partner callback of the remote configuration: which events fire it and how its request
// is made. The stored forms keep three quirks of the format on purpose, since stored and
// dictionary copies must read back as they always have: the connect timeout is written under
// "connectionTimeout" but read from "connectTimeout" (so it reads back as 0); a dictionary's
// "events" is read wrapped in a one-element array; and a dictionary's "maxRedirects" is taken
// only when stored as an integer that fits, while the other numbers are converted.
class TallixBeaconAppTemplate : public foundation::Archivable {
 public:
  static constexpr std::string_view kArchiveClassName = "TallixBeaconAppTemplate";
  enum Method : std::int32_t { kGet = 0, kPut = 1, kPost = 2 };

  static std::shared_ptr<TallixBeaconAppTemplate> initWithCoder(foundation::KeyedUnarchiver& coder);
  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(foundation::KeyedArchiver& coder) const override;

  foundation::Value dataDictionary() const;
  // Null when the value is no dictionary.
  static std::shared_ptr<TallixBeaconAppTemplate> initWithDictionary(
      const foundation::Value& dictionary);

  // Names outside "GET", "PUT", "POST" and numbers outside 0...2 fall back to GET, the
  // configuration's own default method, so a damaged copy still makes a harmless request.
  static std::int32_t beaconMethodStringToEnum(std::string_view name);
  static std::string beaconMethodEnumToString(std::int32_t method);

  const std::string& partner() const { return partner_; }
  void setPartner(std::string partner) { partner_ = std::move(partner); }
  // Event names; after a dictionary read, the one element is the stored array.
  const foundation::Value::Array& events() const { return events_; }
  void setEvents(foundation::Value::Array events) { events_ = std::move(events); }
  std::int32_t method() const { return method_; }
  void setMethod(std::int32_t method) { method_ = method; }
  const std::optional<std::string>& uriTemplate() const { return uriTemplate_; }
  void setUriTemplate(std::optional<std::string> uri) { uriTemplate_ = std::move(uri); }
  const std::optional<std::string>& bodyTemplate() const { return bodyTemplate_; }
  void setBodyTemplate(std::optional<std::string> body) { bodyTemplate_ = std::move(body); }
  std::int32_t maxRedirects() const { return maxRedirects_; }
  void setMaxRedirects(std::int32_t count) { maxRedirects_ = count; }
  std::int32_t connectTimeout() const { return connectTimeout_; }
  void setConnectTimeout(std::int32_t seconds) { connectTimeout_ = seconds; }
  std::int32_t requestTimeout() const { return requestTimeout_; }
  void setRequestTimeout(std::int32_t seconds) { requestTimeout_ = seconds; }

 private:
  std::string partner_;
  foundation::Value::Array events_;
  std::int32_t method_ = kGet;
  std::optional<std::string> uriTemplate_;
  std::optional<std::string> bodyTemplate_;
  std::int32_t maxRedirects_ = 0;
  std::int32_t connectTimeout_ = 0;
  std::int32_t requestTimeout_ = 0;
};

}  // namespace tallix
