#pragma once

#include <optional>
#include <string>

namespace platform {

// What naming an output needs to know of a sink, in plain values, so the rule can be checked
// without a sound server.
struct SinkFacts {
  struct Port {
    std::string name;          // the driver's, e.g. "analog-output-speaker"
    std::string description;   // the person's, e.g. "Headphones"
    bool speakerType = false;  // the driver says it is a speaker
  };

  std::string name;
  std::string description;
  bool onCard = false;  // a device's sink rather than a virtual one
  std::string bus;      // the device's bus ("pci", "usb", "bluetooth"), empty when unknown
  std::optional<Port> activePort;
};

// What a person would call the output: "Speaker" for built-in speakers, the port's description
// for the other ports of a built-in card, and the sink's description for everything else.
std::string portNameForSink(const SinkFacts& sink);

}  // namespace platform
