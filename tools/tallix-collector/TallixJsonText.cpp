#include "tools/tallix-collector/TallixJsonText.h"

#include <cstdlib>
#include <memory>

#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

std::string TallixJsonText::dumped(const json_t* json) {
  const std::unique_ptr<char, decltype(&std::free)> text(json_dumps(json, JSON_INDENT(2)),
                                                         &std::free);
  return text ? std::string(text.get()) + "\n" : std::string();
}

std::string TallixJsonText::error(const std::string& reason) {
  const TallixJson error(json_pack("{s:s%}", "error", reason.data(), reason.size()));
  return dumped(error.get());
}

}  // namespace tallix
