#include "PrivateServer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <regex>
#include <sstream>

namespace platform {
namespace {

// The raw level of each channel, as set-sink-volume takes them back.
std::string channelVolumes(const std::string& sink) {
  const std::string volume = pactl("get-sink-volume " + sink);
  const std::regex raw(R"(: (\d+) /)");
  std::string levels;
  for (auto match = std::sregex_iterator(volume.begin(), volume.end(), raw);
       match != std::sregex_iterator(); ++match)
    levels += (*match)[1].str() + ' ';
  EXPECT_FALSE(levels.empty()) << volume;
  return levels;
}

// Column `column` of each line of a `pactl list short` table.
std::vector<std::string> shortColumn(const std::string& table, int column) {
  std::vector<std::string> values;
  std::istringstream lines(pactl("list short " + table));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string field;
    for (int skipped = 0; skipped <= column; ++skipped)
      fields >> field;
    values.push_back(field);
  }
  return values;
}

}  // namespace

std::string run(const std::string& command) {
  std::string output;
  FILE* pipe = popen(("LC_ALL=C " + command + " 2>&1").c_str(), "r");
  char chunk[4096];
  while (std::size_t read = std::fread(chunk, 1, sizeof chunk, pipe))
    output.append(chunk, read);
  EXPECT_EQ(pclose(pipe), 0) << command << ": " << output;
  while (!output.empty() && output.back() == '\n')
    output.pop_back();
  return output;
}

std::string pactl(const std::string& arguments) {
  return run("pactl " + arguments);
}

void PrivateServerTest::SetUp() {
  defaultSink_ = pactl("get-default-sink");
  defaultSource_ = pactl("get-default-source");
  channelVolumes_ = channelVolumes(defaultSink_);
  mute_ = pactl("get-sink-mute " + defaultSink_).find("yes") != std::string::npos ? "1" : "0";
}

void PrivateServerTest::TearDown() {
  for (pid_t stream : streams_) {
    ::kill(stream, SIGTERM);
    ::waitpid(stream, nullptr, 0);
  }
  pactl("set-default-sink " + defaultSink_);
  pactl("set-sink-volume " + defaultSink_ + ' ' + channelVolumes_);
  pactl("set-sink-mute " + defaultSink_ + ' ' + mute_);
  for (auto module = modules_.rbegin(); module != modules_.rend(); ++module)
    pactl("unload-module " + *module);
  pactl("set-default-source " + defaultSource_);
}

std::string PrivateServerTest::loadModule(const std::string& arguments) {
  const std::string module = pactl("load-module " + arguments);
  modules_.push_back(module);
  return module;
}

std::string PrivateServerTest::loadNullSink(const std::string& name,
                                            const std::string& description) {
  return loadModule("module-null-sink sink_name=" + name +
                    R"( "sink_properties='device.description=\")" + description + R"(\"'")");
}

void PrivateServerTest::unloadModule(const std::string& module) {
  pactl("unload-module " + module);
  std::erase(modules_, module);
}

// The stream must not outlive a test that crashes: it would keep playing into the shared server
// and hold the test's output open, so ctest would wait for it.
void PrivateServerTest::startStream() {
  const pid_t test = ::getpid();
  const pid_t stream = ::fork();
  ASSERT_GE(stream, 0);
  if (stream == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != test)
      ::_exit(1);
    const int quiet = ::open("/dev/null", O_WRONLY);
    ::dup2(quiet, STDOUT_FILENO);
    ::dup2(quiet, STDERR_FILENO);
    ::execlp("pacat", "pacat", "--playback", "/dev/zero", nullptr);
    ::_exit(127);
  }
  streams_.push_back(stream);
}

std::string PrivateServerTest::sinkIndex(const std::string& name) {
  const auto names = shortColumn("sinks", 1);
  const auto indexes = shortColumn("sinks", 0);
  const auto found = std::find(names.begin(), names.end(), name);
  return found == names.end() ? "" : indexes[found - names.begin()];
}

std::vector<std::string> PrivateServerTest::streamSinks() {
  return shortColumn("sink-inputs", 1);
}

}  // namespace platform
