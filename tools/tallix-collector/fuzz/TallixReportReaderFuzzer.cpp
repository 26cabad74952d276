// Any bytes must either decode to JSON that dumps, or be rejected with a reason.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "tools/tallix-collector/TallixReportReader.h"
#include "tools/tallix-collector/TallixReportRejected.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const tallix::TallixJson report = tallix::TallixReportReader::read({data, size});
    char* text = json_dumps(report.get(), 0);
    // Unwritable JSON (a value jansson refuses) would leave the store without a file.
    if (!text)
      std::abort();
    std::free(text);
  } catch (const tallix::TallixReportRejected&) {
  }
  return 0;
}
