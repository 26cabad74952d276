#include <gtest/gtest.h>

#include "platform/RouteNaming.h"

namespace platform {
namespace {

using Port = SinkFacts::Port;

// A sink of a sound card on `bus` with `port` active, as ALSA and bluez cards present them.
SinkFacts cardSink(std::string bus, Port port) {
  return {"alsa_output.card.analog-stereo", "Built-in Audio Analog Stereo", true, std::move(bus),
          std::move(port)};
}

TEST(RouteNaming, CallsABuiltInSpeakerPortSpeakerWhetherTypedOrOnlyNamedSo) {
  EXPECT_EQ(portNameForSink(cardSink("pci", {"analog-output", "Speakers", true})), "Speaker");
  EXPECT_EQ(portNameForSink(cardSink("pci", {"analog-output-speaker", "Speakers", false})),
            "Speaker");
  // UCM ports, and a card whose bus the driver does not say.
  EXPECT_EQ(portNameForSink(cardSink("", {"[Out] Speaker", "Speaker", false})), "Speaker");
}

TEST(RouteNaming, NamesOtherPortsOfABuiltInCardByTheirDescription) {
  EXPECT_EQ(portNameForSink(cardSink("pci", {"analog-output-headphones", "Headphones", false})),
            "Headphones");
  EXPECT_EQ(portNameForSink(cardSink("", {"hdmi-output-0", "HDMI / DisplayPort", false})),
            "HDMI / DisplayPort");
  // A port without a description falls back to its sink's.
  EXPECT_EQ(portNameForSink(cardSink("pci", {"analog-output-lineout", "", false})),
            "Built-in Audio Analog Stereo");
}

// bluez calls the A2DP port of any Bluetooth speaker "speaker-output"; the device's own name
// says far more than "Speaker" would.
TEST(RouteNaming, NamesBluetoothAndUsbDevicesByTheSinkEvenOnSpeakerPorts) {
  const SinkFacts bluetooth{"bluez_output.00_11_22_33_44_55.1", "JBL Flip 5", true, "bluetooth",
                            Port{"speaker-output", "Speaker", true}};
  EXPECT_EQ(portNameForSink(bluetooth), "JBL Flip 5");
  const SinkFacts usb{"alsa_output.usb-Logitech_G435-00.analog-stereo", "G435 Wireless Headset",
                      true, "usb", Port{"analog-output-headphones", "Headphones", false}};
  EXPECT_EQ(portNameForSink(usb), "G435 Wireless Headset");
  const SinkFacts usbSpeaker{"alsa_output.usb-speaker", "USB Desk Speaker", true, "usb",
                             Port{"analog-output-speaker", "Speakers", true}};
  EXPECT_EQ(portNameForSink(usbSpeaker), "USB Desk Speaker");
}

TEST(RouteNaming, NamesVirtualSinksByTheirDescription) {
  EXPECT_EQ(portNameForSink({"null", "Null Output", false, "", std::nullopt}), "Null Output");
  // Even with a port, a sink that belongs to no card is not a built-in speaker.
  EXPECT_EQ(portNameForSink({"remote", "Living Room", false, "", Port{"speaker", "Speaker", true}}),
            "Living Room");
  // A card's sink whose port is unknown.
  EXPECT_EQ(portNameForSink({"alsa_output.card", "Built-in Audio", true, "pci", std::nullopt}),
            "Built-in Audio");
}

TEST(RouteNaming, FallsBackToTheSinkNameWithoutADescription) {
  EXPECT_EQ(portNameForSink({"orvane_null", "", false, "", std::nullopt}), "orvane_null");
  EXPECT_EQ(portNameForSink({"bluez_output.x", "", true, "bluetooth", Port{"a2dp", "A2DP", false}}),
            "bluez_output.x");
  EXPECT_EQ(portNameForSink({"alsa_output.card", "", true, "pci", Port{"line-out", "", false}}),
            "alsa_output.card");
}

}  // namespace
}  // namespace platform
