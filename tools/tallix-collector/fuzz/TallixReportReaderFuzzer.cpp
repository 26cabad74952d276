// Any bytes must either decode to JSON that can be written out, or be rejected with a reason.
// Random bytes almost never carry a matching CRC-32, so each input is also tried with one
// appended: that way the fuzzer gets past the checksum into the decoder.
#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "tools/tallix-collector/TallixReportReader.h"
#include "tools/tallix-collector/TallixReportRejected.h"

namespace {

void readAndWrite(std::span<const std::uint8_t> body) {
  try {
    const tallix::TallixJson report = tallix::TallixReportReader::read(body);
    char* text = json_dumps(report.get(), 0);
    // JSON that jansson cannot write would leave the store without a file.
    if (!text)
      std::abort();
    std::free(text);
  } catch (const tallix::TallixReportRejected&) {
  }
}

std::vector<std::uint8_t> sealed(std::span<const std::uint8_t> data) {
  std::vector<std::uint8_t> body(data.begin(), data.end());
  const auto checksum = static_cast<std::uint32_t>(crc32(0L, data.data(), data.size()));
  for (int shift = 24; shift >= 0; shift -= 8)
    body.push_back(static_cast<std::uint8_t>(checksum >> shift));
  return body;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  readAndWrite({data, size});
  readAndWrite(sealed({data, size}));
  return 0;
}
