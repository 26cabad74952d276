#include "tools/tallix-collector/TallixStoredReport.h"

#include "tools/tallix-collector/TallixJsonValues.h"

namespace tallix {

namespace {

std::size_t eventCount(const json_t* sessions) {
  std::size_t count = 0;
  std::size_t index;
  const json_t* session;
  json_array_foreach(sessions, index, session) {
    count += json_array_size(json_object_get(session, "events"));
  }
  return count;
}

std::string stringMember(const json_t* object, const char* key) {
  const json_t* member = json_object_get(object, key);
  return json_is_string(member) ? json_string_value(member) : "";
}

}  // namespace

TallixJson TallixStoredReport::accepted(TallixJson read, Body body, std::int64_t receivedAtMs) {
  addReceipt(read.get(), "accepted", body, receivedAtMs);
  return read;
}

TallixJson TallixStoredReport::rejected(const std::string& reason, Body body,
                                        std::int64_t receivedAtMs) {
  TallixJson stored(json_object());
  addReceipt(stored.get(), "rejected", body, receivedAtMs);
  json_object_set_new(stored.get(), "reason", TallixJsonValues::text(reason));
  json_object_set_new(stored.get(), "rawBody", TallixJsonValues::bytes(body));
  return stored;
}

std::string TallixStoredReport::summary(const json_t* stored) {
  const std::string number =
      "report " + std::to_string(json_integer_value(json_object_get(stored, "number")));
  if (stringMember(stored, "status") != "accepted")
    return number + " rejected: " + stringMember(stored, "reason");
  const json_t* body = json_object_get(stored, "body");
  const json_t* sessions = json_object_get(body, "sessions");
  return number + ": api key \"" + stringMember(body, "apiKey") + "\", " +
         std::to_string(json_array_size(sessions)) + " sessions, " +
         std::to_string(eventCount(sessions)) + " events";
}

void TallixStoredReport::addReceipt(json_t* stored, const char* status, Body body,
                                    std::int64_t receivedAtMs) {
  json_object_set_new(stored, "status", json_string(status));
  json_object_set_new(stored, "receivedAt", TallixJsonValues::timestamp(receivedAtMs));
  json_object_set_new(stored, "bodySize", json_integer(static_cast<json_int_t>(body.size())));
}

}  // namespace tallix
