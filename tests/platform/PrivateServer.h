#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <string>
#include <vector>

// Helpers for tests that run against the private server the test environment names
// (PULSE_SERVER) and change it with pactl.
namespace platform {

// Runs a shell command and returns its output without the final newlines; a command that fails
// fails the test.
std::string run(const std::string& command);
std::string pactl(const std::string& arguments);

// The server is shared by every test of the run: this puts back, after each test, the default
// sink with its volume and mute and the default source as they were, unloads the modules the
// test loaded and ends the streams it started.
class PrivateServerTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Loads a module with pactl's arguments; returns it for unloadModule().
  std::string loadModule(const std::string& arguments);
  // A null sink with a person's name; returns its module for unloadModule().
  std::string loadNullSink(const std::string& name, const std::string& description);
  void unloadModule(const std::string& module);
  // Plays silence to the default sink until the test ends.
  void startStream();
  // The server's index of the named sink, as `pactl list short` shows indexes.
  static std::string sinkIndex(const std::string& name);
  // The sink index of each playing stream.
  static std::vector<std::string> streamSinks();

 private:
  std::string defaultSink_;
  std::string defaultSource_;
  std::string channelVolumes_;
  std::string mute_;
  std::vector<std::string> modules_;
  std::vector<pid_t> streams_;
};

}  // namespace platform
