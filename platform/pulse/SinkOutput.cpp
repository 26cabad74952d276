#include "platform/pulse/SinkOutput.h"

#include "platform/RouteNaming.h"

namespace platform::pulse {
namespace {

std::string text(const char* value) {
  return value ? value : "";
}

SinkFacts factsOf(const pa_sink_info& sink) {
  SinkFacts facts{sink.name, text(sink.description), sink.card != PA_INVALID_INDEX,
                  text(pa_proplist_gets(sink.proplist, PA_PROP_DEVICE_BUS)), std::nullopt};
  if (const pa_sink_port_info* port = sink.active_port)
    facts.activePort = SinkFacts::Port{text(port->name), text(port->description),
                                       port->type == PA_DEVICE_PORT_TYPE_SPEAKER};
  return facts;
}

}  // namespace

AudioSessionPortDescription describeOutput(const pa_sink_info& sink) {
  return {portNameForSink(factsOf(sink)), sink.name};
}

}  // namespace platform::pulse
