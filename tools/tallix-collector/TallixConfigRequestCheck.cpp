#include "tools/tallix-collector/TallixConfigRequestCheck.h"

#include <httplib.h>
#include <zlib.h>

#include <cstdint>

namespace tallix {

std::optional<std::string> TallixConfigRequestCheck::fault(const httplib::Request& request) {
  if (auto fault = headerFault(request, "content-type", kContentType))
    return fault;
  if (auto fault = headerFault(request, "accept", kAccept))
    return fault;
  return headerFault(request, "fm-checksum", checksum(request.body));
}

std::string TallixConfigRequestCheck::checksum(const std::string& body) {
  const uLong crc = crc32(crc32(0, nullptr, 0), reinterpret_cast<const Bytef*>(body.data()),
                          static_cast<uInt>(body.size()));
  return std::to_string(static_cast<std::int32_t>(static_cast<std::uint32_t>(crc)));
}

std::optional<std::string> TallixConfigRequestCheck::headerFault(const httplib::Request& request,
                                                                 const char* name,
                                                                 const std::string& expected) {
  if (!request.has_header(name))
    return std::string("no ") + name + " header";
  const std::string given = request.get_header_value(name);
  if (given == expected)
    return std::nullopt;
  return std::string(name) + " \"" + given + "\", not \"" + expected + "\"";
}

}  // namespace tallix
