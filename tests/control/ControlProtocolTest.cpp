#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "control/ControlProtocol.h"

namespace control {
namespace {

using Protocol = ControlProtocol;
using Reply = Protocol::Reply;
using Request = Protocol::Request;
using Verb = Protocol::Verb;
using Steps = std::vector<Protocol::Step>;

// A peer that has said hello; `read` gives what Orvane does about one line of it.
struct Greeted {
  Protocol protocol{"9.9"};
  Greeted() { protocol.read("ORVANECTL 1\n"); }
  Steps read(const std::string& line) { return protocol.read(line + "\n"); }
};

Protocol::Step refusal(const std::string& reason, bool close = false) {
  return Reply{"ERR " + reason, close};
}

struct LineCase {
  std::string line;
  Protocol::Step step;
};

TEST(ControlProtocolTest, EachCommandLineGetsItsRequestOrItsReply) {
  const std::vector<LineCase> cases = {
      {"status", Request{Verb::Status, {}}},
      {"replay", Request{Verb::Replay, {}}},
      {"output\r", Request{Verb::Output, {}}},
      {"  effect   monster ", Request{Verb::Effect, "monster"}},
      {"effect chipmunk", Request{Verb::Effect, "chipmunk"}},
      {"tone off", Request{Verb::Tone, "off"}},
      {"play /tmp/a b.wav", Request{Verb::Play, "/tmp/a b.wav"}},
      {"play  /tmp/ü.wav", Request{Verb::Play, "/tmp/ü.wav"}},
      {"version", Reply{"OK Orvane 9.9, protocol ORVANECTL 1"}},
      {"quit", Reply{"OK bye", true}},
      {"effect", refusal("effect takes one of normal, monster, chipmunk")},
      {"effect robot", refusal("effect takes one of normal, monster, chipmunk")},
      {"effect monster now", refusal("effect takes one of normal, monster, chipmunk")},
      {"tone maybe", refusal("tone takes on or off")},
      {"play", refusal("play takes the absolute path of an audio file")},
      {"play take.wav", refusal("play takes an absolute path, not \"take.wav\"")},
      {"replay twice", refusal("replay takes no arguments")},
      {"quit now", refusal("quit takes no arguments")},
      {"Status", refusal("unknown command \"Status\"; try help")},
      {std::string(60, 'x'),
       refusal("unknown command \"" + std::string(40, 'x') + "...\"; try help")},
      {"", refusal("empty line; try help")},
      {"\xff\xfe garbage", refusal("the line is not UTF-8 text")},
      {"\xc0\xaf", refusal("the line is not UTF-8 text")},      // overlong "/"
      {"\xed\xa0\x80", refusal("the line is not UTF-8 text")},  // a surrogate
      {"play /tmp/\x01.wav", refusal("the line holds control characters")},
  };
  for (const auto& [line, step] : cases) {
    Greeted peer;
    EXPECT_EQ(peer.read(line), Steps{step}) << "line \"" << line << "\"";
  }
}

TEST(ControlProtocolTest, TheHelloDecidesTheVersionOrEndsTheConnection) {
  Protocol accepted("9.9");
  EXPECT_EQ(accepted.read("ORVANECTL 1\n"), Steps{Reply{"ORVANECTL 1 Orvane 9.9"}});
  EXPECT_FALSE(accepted.closed());

  const std::vector<LineCase> refused = {
      {"ORVANECTL 2",
       refusal("unsupported protocol version 2; this Orvane speaks ORVANECTL 1", true)},
      {"ORVANECTL", refusal("malformed hello; expected \"ORVANECTL 1\"", true)},
      {"ORVANECTL one", refusal("malformed hello; expected \"ORVANECTL 1\"", true)},
      {"ORVANECTL 99999999999", refusal("malformed hello; expected \"ORVANECTL 1\"", true)},
  };
  for (const auto& [line, step] : refused) {
    Protocol protocol("9.9");
    EXPECT_EQ(protocol.read(line + "\nstatus\n"), Steps{step}) << line;
    EXPECT_TRUE(protocol.closed());
    EXPECT_TRUE(protocol.read("status\n").empty()) << "heard after closing";
  }
}

// Bytes come as the socket hands them over: lines split anywhere, several in one read.
TEST(ControlProtocolTest, LinesAreCutFromTheStreamWhereverReadsEnd) {
  Greeted peer;
  EXPECT_TRUE(peer.protocol.read("eff").empty());
  EXPECT_EQ(peer.protocol.read("ect normal\ntone on\nrep"),
            (Steps{Request{Verb::Effect, "normal"}, Request{Verb::Tone, "on"}}));
  EXPECT_EQ(peer.protocol.read("lay\nquit\nstatus\n"),
            (Steps{Request{Verb::Replay, {}}, Reply{"OK bye", true}}));
}

TEST(ControlProtocolTest, ALinePastTheLimitIsRefusedAndEndsTheConnection) {
  const std::string megabyte(1 << 20, 'a');
  const Protocol::Step overflow =
      refusal("line longer than " + std::to_string(Protocol::kLineLimit) + " bytes", true);
  Greeted inOneRead;
  EXPECT_EQ(inOneRead.read(megabyte), Steps{overflow});
  EXPECT_TRUE(inOneRead.protocol.closed());

  Greeted unended;  // no newline ever comes: refused as soon as the limit is passed
  EXPECT_TRUE(unended.protocol.read(std::string(Protocol::kLineLimit, 'a')).empty());
  EXPECT_EQ(unended.protocol.read("a"), Steps{overflow});

  Protocol beforeHello("9.9");
  EXPECT_EQ(beforeHello.read(megabyte), Steps{overflow});
}

// An older Orvane started a second time writes its addresses and hangs up without a hello.
TEST(ControlProtocolTest, AnOlderStartsAddressesAreDeliveredWhenItHangsUp) {
  Protocol older("9.9");
  EXPECT_TRUE(older.read("orvane://?a=1\n\norvane://?b").empty());
  EXPECT_EQ(older.finish(), (Steps{Protocol::Addresses{{"orvane://?a=1", "orvane://?b"}}}));

  Protocol bare("9.9");  // a start without addresses asks Orvane to come forward
  EXPECT_EQ(bare.finish(), Steps{Protocol::Addresses{}});

  Protocol flooding("9.9");
  const std::string address = "orvane://?" + std::string(1000, 'x') + "\n";
  Steps steps;
  for (int line = 0; line < 100 && steps.empty(); ++line)
    steps = flooding.read(address);
  EXPECT_EQ(steps, Steps{Protocol::Drop{}});
  EXPECT_TRUE(flooding.finish().empty()) << "nothing of a flood is delivered";

  Greeted remote;
  EXPECT_TRUE(remote.protocol.finish().empty()) << "a remote's lines are no addresses";
}

}  // namespace
}  // namespace control
