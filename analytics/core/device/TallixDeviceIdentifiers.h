#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "analytics/core/device/DeviceFileTree.h"

namespace tallix {

// The identifiers the agent reports for this device, each an upper-case UUID text. Nothing
// here throws; an identifier that cannot be had is none. Not thread-safe: the agent asks on
// its own queue.
class TallixDeviceIdentifiers {
 public:
  // The agent keeps its own id in agentDirectory, which must exist. /etc and /var are read
  // under the root directory.
  TallixDeviceIdentifiers(std::filesystem::path agentDirectory, std::string applicationIdentifier,
                          std::filesystem::path root = "/");

  // The same for one application on one machine, different for every other application, and
  // not reversible to the machine id. None when the machine has no readable machine id.
  std::optional<std::string> identifierForVendor() const;
  // A random id made once and kept in the agent's directory.
  std::string tallixId();
  std::optional<std::string> macUID() const;
  // A fresh random UUID in upper case, as the agent names its files and blocks.
  static std::string generateUUID();

 private:
  std::optional<std::string> storedTallixId() const;
  std::filesystem::path tallixIdFile() const;

  std::filesystem::path agentDirectory_;
  std::string applicationIdentifier_;
  DeviceFileTree files_;
  std::optional<std::string> tallixId_;
};

}  // namespace tallix
