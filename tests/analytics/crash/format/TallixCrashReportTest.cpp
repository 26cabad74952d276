#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "analytics/crash/format/TallixCrashReport.h"
#include "analytics/crash/format/TallixCrashReportTextFormatter.h"
#include "tests/analytics/crash/format/TallixCrashReportBuilder.h"

namespace tallix {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Builder = TallixCrashReportBuilder;

struct Refusal {
  const char* name;
  Bytes bytes;
  const char* reason;
};

Bytes headerThen(std::uint8_t version, const Bytes& message) {
  Bytes file = {'t', 'l', 'x', 'c', 'r', 's', 'h', version};
  std::copy(message.begin(), message.end(), std::back_inserter(file));
  return file;
}

Bytes truncatedSample() {
  Bytes bytes = Builder().bytes();
  bytes.resize(bytes.size() - 5);
  return bytes;
}

std::vector<Refusal> refusals() {
  return {
      {"Empty", {}, "empty report"},
      {"Short", {'t', 'l', 'x'}, "too short for the header: 3 of 8 bytes"},
      {"ForeignMagic", {0x7f, 'E', 'L', 'F', 2, 1, 1, 0, 0}, "not a crash report"},
      {"Version2", headerThen(2, {}), "unsupported format version 2"},
      {"Truncated", truncatedSample(), "does not decode as tlxcrsh.CrashReport"},
      // A thread list claiming four gigabytes, then a required field missing altogether.
      {"HostileCount", headerThen(1, {0x1a, 0xff, 0xff, 0xff, 0xff, 0x0f, 0x08}),
       "does not decode"},
      {"NoRequiredFields", headerThen(1, {}), "does not decode"},
  };
}

void PrintTo(const Refusal& refusal, std::ostream* out) {
  *out << refusal.name;
}

class CrashReportRefusalTest : public ::testing::TestWithParam<Refusal> {};

TEST_P(CrashReportRefusalTest, RefusesWithItsReason) {
  std::string error;
  EXPECT_FALSE(TallixCrashReport::parse(GetParam().bytes, error));
  EXPECT_NE(error.find(GetParam().reason), std::string::npos) << error;
}

INSTANTIATE_TEST_SUITE_P(Reports, CrashReportRefusalTest, ::testing::ValuesIn(refusals()),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(CrashReportTest, ReadsBackWhatTheCaptureSideWrote) {
  const std::string path = ::testing::TempDir() + "/sample.tlxcrsh";
  const Bytes bytes = Builder().bytes();
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  std::string error;
  const auto report = TallixCrashReport::load(path, error);
  std::remove(path.c_str());
  ASSERT_TRUE(report) << error;

  EXPECT_EQ(report->application().identifier, "com.orvane.app");
  EXPECT_EQ(report->system().timestamp, 1700000000);
  EXPECT_EQ(report->info().uuid, "00010203-0405-0607-0809-0a0b0c0d0e0f");
  EXPECT_FALSE(report->isLive());
  EXPECT_EQ(report->process()->id, 4242u);
  EXPECT_EQ(report->process()->path, "");
  EXPECT_EQ(report->exception()->reason, "no output device");
  EXPECT_FALSE(report->machine());
  ASSERT_TRUE(report->signal());
  EXPECT_EQ(report->signal()->name, "SIGSEGV");
  EXPECT_EQ(report->signal()->number, 11);
  EXPECT_EQ(report->signal()->codeNumber, std::nullopt);
  ASSERT_EQ(report->threads().size(), 2u);
  EXPECT_FALSE(report->threads()[0].contextCaptured);
  const TallixCrashReportThread* crashed = report->crashedThread();
  ASSERT_EQ(crashed, &report->threads()[1]);
  EXPECT_TRUE(crashed->contextCaptured);
  EXPECT_EQ(crashed->tid, 101u);
  ASSERT_EQ(crashed->frames.size(), 3u);
  EXPECT_EQ(crashed->frames[0].symbol->start, Builder::kAppBase + 0x1200);
  EXPECT_FALSE(crashed->frames[1].symbol);
  EXPECT_EQ(crashed->registers[1].name, "rsp");
  ASSERT_EQ(report->images().size(), 2u);
  EXPECT_EQ(report->images()[0].buildId, "");
  EXPECT_EQ(report->images()[1].buildId, "deadbeef");
  const TallixCrashReport copy = *report;  // its lookups must use its own images
  EXPECT_EQ(copy.imageContaining(Builder::kAppBase), &copy.images()[1]);
  EXPECT_EQ(copy.imageContaining(Builder::kLibcBase + 0x1fffff), &copy.images()[0]);
  EXPECT_EQ(copy.imageContaining(Builder::kLibcBase + 0x200000), nullptr);
  EXPECT_EQ(copy.imageContaining(0x1000), nullptr);
  EXPECT_FALSE(TallixCrashReport::load(path, error));
}

TEST(CrashReportTest, LiveReportHasNeitherSignalNorCrashedThread) {
  Builder builder;
  builder.makeLive();
  std::string error;
  const auto report = TallixCrashReport::parse(builder.bytes(), error);
  ASSERT_TRUE(report) << error;
  EXPECT_TRUE(report->isLive());
  EXPECT_FALSE(report->signal());
  EXPECT_EQ(report->crashedThread(), nullptr);
  const std::string text = TallixCrashReportTextFormatter::format(*report);
  EXPECT_EQ(text.rfind("Live report", 0), 0u);
  EXPECT_LT(text.find("Thread 0"), text.find("Thread 1"));
}

TEST(CrashReportTextFormatterTest, ShowsTheCrashedThreadFirstWithModulesAndDemangledNames) {
  std::string error;
  const std::string text =
      TallixCrashReportTextFormatter::format(*TallixCrashReport::parse(Builder().bytes(), error));

  const std::size_t crashed = text.find("Thread 1 \"audio\" (tid 101) crashed:");
  const std::size_t registers = text.find("rsp 0x000000007ffc0000");
  const std::size_t other = text.find("Thread 0 \"main\" (tid 100):  [context not captured");
  const std::size_t images = text.find("Binary images:");
  ASSERT_NE(crashed, std::string::npos) << text;
  EXPECT_LT(
      text.find("Signal:       SIGSEGV (11), code SEGV_MAPERR, fault address 0x0000000000000010"),
      crashed);
  EXPECT_LT(text.find("Exception:    std::runtime_error: no output device"), crashed);
  EXPECT_LT(crashed, registers);
  EXPECT_LT(registers, other);
  EXPECT_LT(other, images);
  EXPECT_NE(text.find("#0  0x0000555500001234  orvane+0x1234     orvane::Engine::play()+0x34\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("#1  0x00007f0000001000  libc.so.6+0x1000  ???\n"), std::string::npos);
  EXPECT_NE(text.find("#2  0x0000000000001000  ???               ???\n"), std::string::npos);
  EXPECT_NE(text.find("libc.so.6+0x520  poll+0x20\n"), std::string::npos);
  EXPECT_NE(text.find("0x0000555500000000 - 0x00005555001fffff  /usr/bin/orvane     deadbeef\n"),
            std::string::npos);
  EXPECT_NE(text.find("0x00007f00001fffff  /usr/lib/libc.so.6  (no build id)\n"),
            std::string::npos);
}

}  // namespace
}  // namespace tallix
