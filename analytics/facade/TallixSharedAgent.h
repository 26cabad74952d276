#pragma once

#include "analytics/core/agent/TallixAgent.h"

namespace tallix {

// The one agent behind the facades' class methods, with the services that build on its core.
TallixAgent& sharedAgent();

}  // namespace tallix
