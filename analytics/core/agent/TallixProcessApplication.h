#pragma once

#include "tallix/TallixApplication.h"

namespace tallix {

// The application of a program that describes none: a command-line program, always active,
// named after its executable, keeping its data in the XDG data directory.
class TallixProcessApplication : public TallixApplication {
 public:
  ApplicationState applicationState() const override { return ApplicationState::Active; }
  std::string bundleIdentifier() const override;
  std::string bundleVersion() const override { return ""; }
  std::filesystem::path dataDirectory() const override;
};

}  // namespace tallix
