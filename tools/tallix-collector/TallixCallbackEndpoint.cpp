#include "tools/tallix-collector/TallixCallbackEndpoint.h"

#include <httplib.h>

#include "tools/tallix-collector/TallixClock.h"
#include "tools/tallix-collector/TallixConsole.h"
#include "tools/tallix-collector/TallixJsonValues.h"

namespace tallix {

void TallixCallbackEndpoint::receive(const httplib::Request& request, httplib::Response& response,
                                     int status) {
  const json_int_t number = log_.add(describe(request, status));
  console_.line("callback " + std::to_string(number) + ": " + request.method + " " + request.path +
                queryText(request) + ", answered " + std::to_string(status));
  response.status = status;
}

TallixJson TallixCallbackEndpoint::describe(const httplib::Request& request, int status) {
  TallixJson entry(json_object());
  json_object_set_new(entry.get(), "receivedAt", TallixJsonValues::timestamp(tallixNowMs()));
  json_object_set_new(entry.get(), "method", json_string(request.method.c_str()));
  json_object_set_new(entry.get(), "path", TallixJsonValues::text(request.path));
  json_object_set_new(entry.get(), "query", queryObject(request));
  json_object_set_new(entry.get(), "contentType",
                      TallixJsonValues::text(request.get_header_value("Content-Type")));
  json_object_set_new(entry.get(), "body", TallixJsonValues::text(request.body));
  json_object_set_new(entry.get(), "status", json_integer(status));
  return entry;
}

// A name given more than once keeps all its values, as an array.
json_t* TallixCallbackEndpoint::queryObject(const httplib::Request& request) {
  json_t* query = json_object();
  for (const auto& [name, value] : request.params) {
    json_t* text = TallixJsonValues::text(value);
    json_t* earlier = json_object_get(query, name.c_str());
    if (!earlier) {
      json_object_set_new(query, name.c_str(), text);
    } else if (json_is_array(earlier)) {
      json_array_append_new(earlier, text);
    } else {
      json_object_set_new(query, name.c_str(), json_pack("[Oo]", earlier, text));
    }
  }
  return query;
}

std::string TallixCallbackEndpoint::queryText(const httplib::Request& request) {
  std::string text;
  for (const auto& [name, value] : request.params)
    text += (text.empty() ? "?" : "&") + name + "=" + value;
  return text;
}

}  // namespace tallix
