#pragma once

#include <string>

namespace tallix {

// The agent's version as reports, file names and data keys carry it.
class TallixAgentVersion {
 public:
  static constexpr int kVersion = 155;
  static std::string getAgentVersion();
  static std::string getAgentVersionWithBuild();
};

}  // namespace tallix
