#include "tools/tallix-collector/TallixReportReader.h"

#include <zlib.h>

#include <cstdio>
#include <string>

#include "tools/tallix-collector/TallixBodyDecoder.h"
#include "tools/tallix-collector/TallixByteReader.h"
#include "tools/tallix-collector/TallixReportRejected.h"

namespace tallix {

namespace {

std::string hex32(std::uint32_t value) {
  char text[11];
  std::snprintf(text, sizeof text, "0x%08X", value);
  return text;
}

}  // namespace

TallixJson TallixReportReader::read(std::span<const std::uint8_t> body) {
  const std::uint32_t checksum = checkedChecksum(body);
  TallixByteReader reader(body.first(body.size() - kChecksumSize));
  TallixJson decoded = TallixBodyDecoder::decode(reader);
  if (reader.remaining() != 0) {
    throw TallixReportRejected(std::to_string(reader.remaining()) +
                               " bytes follow the cookies at offset " +
                               std::to_string(reader.offset()));
  }
  TallixJson report(json_object());
  json_object_set_new(report.get(), "crc32", json_string(hex32(checksum).c_str()));
  json_object_set_new(report.get(), "body", decoded.release());
  return report;
}

std::uint32_t TallixReportReader::checkedChecksum(std::span<const std::uint8_t> body) {
  if (body.size() < kChecksumSize) {
    throw TallixReportRejected("body of " + std::to_string(body.size()) +
                               " bytes is too short for its CRC-32");
  }
  const std::size_t covered = body.size() - kChecksumSize;
  std::uint32_t written = 0;
  for (const std::uint8_t byte : body.subspan(covered))
    written = (written << 8) | byte;
  // zlib takes a 32-bit length; a body beyond 4 GiB never gets past the server's size limit.
  const auto computed =
      static_cast<std::uint32_t>(crc32(0L, body.data(), static_cast<uInt>(covered)));
  if (computed != written) {
    throw TallixReportRejected("CRC-32 " + hex32(written) + " does not match the body's " +
                               hex32(computed));
  }
  return computed;
}

}  // namespace tallix
