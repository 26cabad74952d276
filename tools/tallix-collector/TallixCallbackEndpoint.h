#pragma once

#include <string>

#include "tools/tallix-collector/TallixArrivalLog.h"

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace tallix {

class TallixConsole;

// Stands in for the partners whose callback URLs the configuration names: every request on a
// path the collector does not otherwise serve is kept, printed and answered with the status
// set for callbacks.
class TallixCallbackEndpoint {
 public:
  explicit TallixCallbackEndpoint(TallixConsole& console) : console_(console) {}

  void receive(const httplib::Request& request, httplib::Response& response, int status);
  TallixJson list() const { return log_.list(); }

 private:
  static TallixJson describe(const httplib::Request& request, int status);
  // httplib keeps the query only as decoded parameters, sorted by name.
  static json_t* queryObject(const httplib::Request& request);
  static std::string queryText(const httplib::Request& request);

  TallixConsole& console_;
  TallixArrivalLog log_;
};

}  // namespace tallix
