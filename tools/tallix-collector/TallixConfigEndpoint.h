#pragma once

#include "tools/tallix-collector/TallixArrivalLog.h"

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace tallix {

class TallixConfigAnswer;
class TallixConsole;

// "POST /sdk/v1/config": checks and decodes the agent's configuration request, keeps it, prints
// one line and answers with the configuration, 404 when there is none, 400 naming a fault.
class TallixConfigEndpoint {
 public:
  explicit TallixConfigEndpoint(TallixConsole& console) : console_(console) {}

  void receive(const httplib::Request& request, httplib::Response& response,
               const TallixConfigAnswer* config);
  TallixJson list() const { return log_.list(); }

 private:
  void refuse(httplib::Response& response, const std::string& reason);
  void keep(TallixJson decoded, int status);

  TallixConsole& console_;
  TallixArrivalLog log_;
};

}  // namespace tallix
