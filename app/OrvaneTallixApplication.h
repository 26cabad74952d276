#pragma once

#include "tallix/TallixApplication.h"

namespace app {

// Orvane as the analytics agent sees it: its state is the Qt application's, its data lives in
// $XDG_DATA_HOME/Orvane beside the takes.
class OrvaneTallixApplication : public tallix::TallixApplication {
 public:
  tallix::ApplicationState applicationState() const override;
  std::string bundleIdentifier() const override { return "org.orvane.Orvane"; }
  std::string bundleVersion() const override;
  std::filesystem::path dataDirectory() const override;
  tallix::ScreenSize screenSize() const override;
};

}  // namespace app
