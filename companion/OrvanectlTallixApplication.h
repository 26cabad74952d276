#pragma once

#include "platform/InfoDictionary.h"
#include "tallix/TallixApplication.h"

namespace companion {

// orvanectl as the analytics agent sees it: Orvane's extension, always active, with the key
// file Orvane ships as its information dictionary and a data directory of its own
// ($XDG_DATA_HOME/orvanectl), so it never writes the files of a running Orvane.
class OrvanectlTallixApplication : public tallix::TallixApplication {
 public:
  explicit OrvanectlTallixApplication(platform::InfoDictionary information);

  tallix::ApplicationState applicationState() const override {
    return tallix::ApplicationState::Active;
  }
  std::string bundleIdentifier() const override { return "org.orvane.Orvane.orvanectl"; }
  std::string bundleVersion() const override { return ORVANE_VERSION; }
  std::filesystem::path dataDirectory() const override;
  std::optional<std::string> infoDictionaryValue(const std::string& key) const override {
    return information_.value(key);
  }
  bool isWatchExtension() const override { return true; }

 private:
  platform::InfoDictionary information_;
};

}  // namespace companion
