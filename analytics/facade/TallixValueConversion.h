#pragma once

#include "foundation/Value.h"
#include "tallix/TallixValue.h"

namespace tallix {

// The agent keeps foundation values; the facades' own type is turned into one here and nowhere
// else, so an application never meets the agent's internal types.
foundation::Value toValue(const TallixValue& value);

}  // namespace tallix
