#include "analytics/core/report/TallixMalformedData.h"

namespace tallix {

TallixMalformedData::TallixMalformedData(std::string reason)
    : std::runtime_error(std::string(kName) + ": " + reason), reason_(std::move(reason)) {}

}  // namespace tallix
