#include "platform/RouteNaming.h"

#include <algorithm>
#include <cctype>

namespace platform {
namespace {

// Bluetooth and USB devices are named better by the device than by one of its ports.
bool onInternalCard(const SinkFacts& sink) {
  return sink.onCard && sink.bus != "bluetooth" && sink.bus != "usb";
}

// Older drivers leave the port type unknown, but their speaker ports say so in their names.
bool isSpeaker(const SinkFacts::Port& port) {
  std::string name = port.name;
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return std::tolower(c); });
  return port.speakerType || name.find("speaker") != std::string::npos;
}

const std::string& orElse(const std::string& text, const std::string& fallback) {
  return text.empty() ? fallback : text;
}

}  // namespace

std::string portNameForSink(const SinkFacts& sink) {
  const std::string& sinkName = orElse(sink.description, sink.name);
  if (!sink.activePort || !onInternalCard(sink))
    return sinkName;
  if (isSpeaker(*sink.activePort))
    return "Speaker";
  return orElse(sink.activePort->description, sinkName);
}

}  // namespace platform
